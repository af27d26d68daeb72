#pragma once

#include "platform/KeyRepeat.h"
#include "platform/wayland/WaylandConnection.h"

#include <optional>

namespace tavrik {

/// The seat's keyboard, as the compositor describes it to every client.
class WaylandKeyboard : public KeyRepeat {
public:
    explicit WaylandKeyboard(WaylandConnection& connection);
    ~WaylandKeyboard() override;

    /// The evdev code of the key that carries the keysym without modifiers, in the first layout that has one;
    /// nothing if there is none, or no keymap. Which of the layouts is active is only told to who has the
    /// focus.
    std::optional<quint32> keyFor(quint32 keysym);

private:
    void useKeyboard(bool present);
    std::optional<quint32> lookUp(quint32 keysym) const;
    void keepKeymap(int descriptor, quint32 size);
    void repeatChanged(int rate, int delay);

    WaylandConnection& m_connection;
    WaylandPointer<wl_seat> m_seat;
    WaylandPointer<wl_keyboard> m_keyboard;
    int m_keymapFile = -1;
    quint32 m_keymapSize = 0;
    /// What has been asked of this keymap.
    QHash<quint32, std::optional<quint32>> m_keys;
};

} // namespace tavrik
