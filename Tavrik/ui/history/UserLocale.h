#pragma once

#include <string>

namespace tavrik {

/// The locales the user has chosen, one per kind of text, as ICU names them ("de_DE").
struct UserLocale {
    std::string texts;
    std::string numbers;
    std::string dates;

    /// What the environment says, in the order in which it is meant to be read; where it says nothing, ICU's
    /// default.
    static UserLocale fromEnvironment();
};

} // namespace tavrik
