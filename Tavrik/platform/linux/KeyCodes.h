#pragma once

#include <QtGlobal>

#include <optional>

namespace tavrik {

/// The evdev key code of a Mac virtual key code: the key at the same place on the keyboard. XKB key codes are
/// 8 more. Nothing for a code without such a key, and for keys whose evdev code exceeds what X can express.
std::optional<quint8> evdevKeyCode(quint32 macKeyCode);

/// The Mac virtual key code of an evdev key code, or nothing.
std::optional<quint32> macKeyCode(quint32 evdevKeyCode);

} // namespace tavrik
