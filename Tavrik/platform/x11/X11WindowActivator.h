#pragma once

#include "platform/WindowActivator.h"

#include <xcb/xcb.h>

namespace tavrik {

/// Asks the window manager, in the name of the user: it keeps what programs ask on their own account from
/// stealing the focus. Uses the application's own connection.
class X11WindowActivator : public WindowActivator {
public:
    X11WindowActivator();

    void activate(QWindow& window) override;

private:
    xcb_connection_t* m_connection;
    xcb_window_t m_root;
    xcb_atom_t m_activeWindow;
};

} // namespace tavrik
