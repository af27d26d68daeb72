#pragma once

#include <chrono>

namespace tavrik {

/// What a key that the user has bound in the desktop's own configuration says: `tavrik press`, `tavrik
/// release` or `tavrik toggle`.
struct HotKeyCommand {
    enum class Kind { press, release, toggle };

    Kind kind = Kind::press;
    /// When it was given. Commands may overtake each other on their way here.
    std::chrono::steady_clock::time_point time;

    bool operator==(const HotKeyCommand&) const = default;
};

} // namespace tavrik
