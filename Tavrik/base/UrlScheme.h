#pragma once

#include <algorithm>
#include <string_view>

namespace tavrik {

/// Whether the text begins as a URL does: with a scheme and a colon.
constexpr bool hasUrlScheme(std::string_view text) {
    const auto isLetter = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    };
    const auto scheme = text.substr(0, text.find(':'));
    return scheme.size() < text.size() && !scheme.empty() && isLetter(scheme.front()) &&
           std::ranges::all_of(
               scheme,
               [&](char c) {
                   return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '.' || c == '-';
               });
}

} // namespace tavrik
