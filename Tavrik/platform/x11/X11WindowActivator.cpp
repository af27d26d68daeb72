#include "platform/x11/X11WindowActivator.h"

#include <QGuiApplication>
#include <QWindow>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace tavrik {

X11WindowActivator::X11WindowActivator()
    : m_connection(qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection()),
      m_root(xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root),
      m_activeWindow(XCB_ATOM_NONE) {
    constexpr std::string_view name = "_NET_ACTIVE_WINDOW";
    const auto cookie = xcb_intern_atom(m_connection, 0, name.size(), name.data());
    if (auto* reply = xcb_intern_atom_reply(m_connection, cookie, nullptr)) {
        m_activeWindow = reply->atom;
        std::free(reply);
    }
}

void X11WindowActivator::activate(QWindow& window) {
    constexpr uint32_t sourceIsUser = 2;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window.winId());
    message.type = m_activeWindow;
    message.data.data32[0] = sourceIsUser;
    message.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(m_connection, 0, m_root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(m_connection);
}

} // namespace tavrik
