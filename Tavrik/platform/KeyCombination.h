#pragma once

#include <QtGlobal>

namespace tavrik {

/// A shortcut as the preferences store it on every platform: a Mac virtual key code and a mask of Mac
/// modifiers.
struct KeyCombination {
    static constexpr quint32 command = 256; // Super on Linux
    static constexpr quint32 shift = 512;
    static constexpr quint32 option = 2048; // Alt on Linux
    static constexpr quint32 control = 4096;

    quint32 keyCode = 0;
    quint32 modifiers = 0;

    bool operator==(const KeyCombination&) const = default;
};

} // namespace tavrik
