#pragma once

#include "platform/KeyRepeat.h"
#include "platform/wayland/WaylandConnection.h"

namespace tavrik {

/// As the compositor tells every client.
class WaylandKeyRepeat : public KeyRepeat {
public:
    explicit WaylandKeyRepeat(WaylandConnection& connection);

private:
    void useKeyboard(bool present);
    void repeatChanged(int rate, int delay);

    WaylandConnection& m_connection;
    WaylandPointer<wl_seat> m_seat;
    WaylandPointer<wl_keyboard> m_keyboard;
};

} // namespace tavrik
