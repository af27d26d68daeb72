#pragma once

#include <string>

namespace tavrik {

/// The user's locales by category, as ICU names them ("de_DE").
struct UserLocale {
    std::string texts;
    std::string numbers;
    std::string dates;

    /// From LC_ALL, the category's own variable, or LANG; else ICU's default.
    static UserLocale fromEnvironment();
};

} // namespace tavrik
