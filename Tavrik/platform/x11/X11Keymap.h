#pragma once

#include <QtGlobal>

#include <array>
#include <initializer_list>
#include <optional>

struct xcb_connection_t;

namespace tavrik {

/// What the keys of the keyboard mean without Shift: a snapshot of the server's map with all its layout
/// groups.
class X11Keymap {
public:
    /// Every key without a meaning.
    X11Keymap() = default;

    /// Asks the server and waits for its answer. XKB must be in use on the connection.
    static X11Keymap fetch(xcb_connection_t* connection);

    /// The key that gives the symbol while the layout group (0 to 3) is active.
    std::optional<quint8> keyFor(quint32 keysym, size_t group) const;

    /// The first key bound to a modifier of the mask (X's real modifiers).
    std::optional<quint8> keyForModifiers(quint8 mask) const;

    /// The real modifiers that holding the key gives; 0 for an ordinary key.
    quint8 modifiersOf(quint8 keycode) const { return m_modifiers[keycode]; }

    /// The real modifiers of the first of these symbols that is on a modifier key; 0 if none is.
    quint8 modifiersFor(std::initializer_list<quint32> keysyms) const;

    /// NumLock's real modifier; 0 if the keyboard has none.
    quint8 numLock() const;

private:
    static constexpr size_t groupCount = 4;

    std::array<std::array<quint32, groupCount>, 256> m_keysyms{};
    std::array<quint8, 256> m_modifiers{};
};

} // namespace tavrik
