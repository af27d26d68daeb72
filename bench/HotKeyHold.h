#pragma once

#include "platform/x11/X11Keyboard.h"

namespace tavrik::bench {

/// The hot key a new user has, Alt+Space, held down.
class HotKeyHold {
public:
    HotKeyHold() { press(altKey, spaceKey, true); }

    /// Once.
    void release() { press(spaceKey, altKey, false); }

private:
    static constexpr quint8 altKey = 64;
    static constexpr quint8 spaceKey = 65;

    void press(quint8 first, quint8 second, bool down) {
        m_keyboard.synthesise(first, down);
        m_keyboard.synthesise(second, down);
        m_keyboard.flush();
    }

    X11Keyboard m_keyboard;
};

} // namespace tavrik::bench
