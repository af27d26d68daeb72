#include "platform/x11/Xcb.h"

#include <QGuiApplication>

#include <X11/Xlib.h>

#include <cstring>
#include <vector>

namespace tavrik {

namespace {

void (*endProcess)() = nullptr;

} // namespace

bool xServerAnswers() {
    auto* connection = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

void onXServerLost(void (*lost)()) {
    endProcess = lost;
    XSetIOErrorHandler([](Display*) {
        endProcess();
        return 0;
    });
}

xcb_connection_t* applicationConnection() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

void fetchAtoms(xcb_connection_t* connection,
                std::initializer_list<std::pair<const char*, xcb_atom_t*>> atoms) {
    std::vector<xcb_intern_atom_cookie_t> cookies;
    for (const auto& [name, atom] : atoms)
        cookies.push_back(xcb_intern_atom(connection, 0, static_cast<uint16_t>(std::strlen(name)), name));
    auto cookie = cookies.begin();
    for (const auto& [name, atom] : atoms) {
        const XcbPointer<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(connection, *cookie++, nullptr));
        *atom = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }
}

xcb_atom_t xcbAtom(xcb_connection_t* connection, const char* name) {
    xcb_atom_t atom = XCB_ATOM_NONE;
    fetchAtoms(connection, {{name, &atom}});
    return atom;
}

bool hasOwner(xcb_connection_t* connection, xcb_atom_t selection) {
    const auto cookie = xcb_get_selection_owner(connection, selection);
    const XcbPointer<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, cookie, nullptr));
    return reply && reply->owner != XCB_WINDOW_NONE;
}

} // namespace tavrik
