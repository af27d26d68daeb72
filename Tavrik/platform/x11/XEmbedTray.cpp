#include "platform/x11/XEmbedTray.h"

#include "platform/x11/Xcb.h"

#include <QCoreApplication>

namespace tavrik {

XEmbedTray::XEmbedTray() : m_connection(applicationConnection()) {
    if (!m_connection)
        return;
    fetchAtoms(m_connection, {{"_NET_SYSTEM_TRAY_S0", &m_tray}, {"MANAGER", &m_manager}});
    QCoreApplication::instance()->installNativeEventFilter(this);
}

bool XEmbedTray::isRunning() const {
    return m_connection && hasOwner(m_connection, m_tray);
}

bool XEmbedTray::nativeEventFilter(const QByteArray&, void* message, qintptr*) {
    const auto* event = static_cast<const xcb_client_message_event_t*>(message);
    if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE && event->type == m_manager &&
        event->data.data32[1] == m_tray)
        Q_EMIT started();
    return false;
}

} // namespace tavrik
