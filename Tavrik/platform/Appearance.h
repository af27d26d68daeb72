#pragma once

namespace tavrik {

enum class AppearanceChoice { system, light, dark };

/// Light or dark, for everything this program shows. Main thread only.
class Appearance {
public:
    Appearance() = default;
    Appearance(const Appearance&) = delete;
    Appearance& operator=(const Appearance&) = delete;
    virtual ~Appearance() = default;

    /// Applies the choice at once; `system` follows the desktop from then on.
    virtual void apply(AppearanceChoice choice) = 0;
};

} // namespace tavrik
