#pragma once

#include <QtGlobal>

#include <optional>

namespace tavrik {

/// The kernel's code (evdev) of the key a Mac virtual key code names, by position on the keyboard. X key
/// codes are 8 more. Nothing for a code that names no key, and for the keys whose evdev code X cannot
/// express.
std::optional<quint8> evdevKeyCode(quint32 macKeyCode);

/// The other way round.
std::optional<quint32> macKeyCode(quint32 evdevKeyCode);

} // namespace tavrik
