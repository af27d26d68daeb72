#pragma once

#include "platform/WindowActivator.h"

#include <xcb/xcb.h>

namespace tavrik {

/// Asks the window manager, in the name of the user: it keeps what programs ask on their own account from
/// stealing the focus. Uses the application's own connection, which must be to an X server.
class X11WindowActivator : public WindowActivator {
public:
    X11WindowActivator();

    /// Also ends the busy pointer that the desktop shows for the launch the token stands for.
    void activate(QWindow& window, const QByteArray& activationToken) override;

private:
    void endStartupNotification(const QByteArray& id);

    xcb_connection_t* m_connection;
    xcb_window_t m_root;
};

} // namespace tavrik
