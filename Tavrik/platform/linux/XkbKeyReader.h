#pragma once

#include "platform/KeyReader.h"

namespace tavrik {

/// Reads key events as Qt delivers them on X11 and Wayland alike: the native scan code is the evdev code plus
/// 8, the native virtual key is the keysym under the modifiers held. Platform plugins without these yield
/// nothing.
class XkbKeyReader : public KeyReader {
public:
    std::optional<KeyPress> read(const QKeyEvent& event) const override;
};

} // namespace tavrik
