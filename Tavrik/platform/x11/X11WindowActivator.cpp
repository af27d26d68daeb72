#include "platform/x11/X11WindowActivator.h"

#include "platform/x11/Xcb.h"

#include <QByteArray>
#include <QWindow>

#include <algorithm>

namespace tavrik {

X11WindowActivator::X11WindowActivator()
    : m_connection(applicationConnection()),
      m_root(xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root) {}

void X11WindowActivator::activate(QWindow& window, const QByteArray& activationToken) {
    constexpr uint32_t sourceIsUser = 2;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window.winId());
    message.type = xcbAtom(m_connection, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = sourceIsUser;
    message.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(m_connection, 0, m_root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    if (!activationToken.isEmpty())
        endStartupNotification(activationToken);
    xcb_flush(m_connection);
}

void X11WindowActivator::endStartupNotification(const QByteArray& id) {
    auto quoted = id;
    quoted.replace('\\', "\\\\").replace('"', "\\\"");
    const auto text = "remove: ID=\"" + quoted + '"';

    xcb_atom_t begin = XCB_ATOM_NONE;
    xcb_atom_t more = XCB_ATOM_NONE;
    fetchAtoms(m_connection, {{"_NET_STARTUP_INFO_BEGIN", &begin}, {"_NET_STARTUP_INFO", &more}});
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 8;
    message.window = xcb_generate_id(m_connection);
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, message.window, m_root, -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    // Split over as many messages as it takes, the closing zero included; only the first is a beginning.
    constexpr qsizetype most = sizeof message.data.data8;
    for (qsizetype start = 0; start <= text.size(); start += most) {
        message.type = start == 0 ? begin : more;
        const auto piece = text.sliced(start, std::min(most, text.size() - start));
        std::ranges::fill(message.data.data8, uint8_t{0});
        std::ranges::copy(piece, message.data.data8);
        xcb_send_event(m_connection, 0, m_root, XCB_EVENT_MASK_PROPERTY_CHANGE,
                       reinterpret_cast<const char*>(&message));
    }
    xcb_destroy_window(m_connection, message.window);
}

} // namespace tavrik
