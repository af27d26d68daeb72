#pragma once

#include <QtGlobal>

#include <initializer_list>
#include <optional>
#include <vector>

struct xcb_connection_t;

namespace tavrik {

/// A snapshot of the server's keymap: what each key gives while no other is down. Key codes are X's; modifier
/// masks are of X's eight real modifiers.
class X11Keymap {
public:
    /// A keymap without keys.
    X11Keymap() = default;

    /// Asks the server and waits for its answer. XKB must be set up on the connection. Without an answer the
    /// keymap has no keys.
    static X11Keymap fetch(xcb_connection_t* connection);

    /// The first key that gives the keysym without Shift while the layout group (0 to 3) is active.
    std::optional<quint8> keyFor(quint32 keysym, size_t group) const;

    /// The first key that sets a modifier of the mask.
    std::optional<quint8> keyForModifiers(quint8 mask) const;

    /// The modifiers that the key sets while it is down; 0 for an ordinary key.
    quint8 modifiersOf(quint8 keycode) const;

    /// The modifiers of the first of the keysyms that is on a modifier key; 0 if none is.
    quint8 modifiersFor(std::initializer_list<quint32> keysyms) const;

    /// The modifier of NumLock; 0 if the keyboard has none.
    quint8 numLock() const;

private:
    /// A key in one layout group.
    struct Meaning {
        quint8 keycode;
        quint8 group;
        quint8 modifiers;
        quint32 keysym;
    };

    std::vector<Meaning> m_meanings; // by key, then by group
};

} // namespace tavrik
