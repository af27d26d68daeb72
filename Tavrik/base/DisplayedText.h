#pragma once

#include <QString>

namespace tavrik {

/// As much of a message as is shown. A service's message may be megabytes long: this is more than anybody
/// reads, and less than takes a noticeable time to lay out.
inline QString displayedText(const QString& message) {
    constexpr qsizetype longest = 20'000;
    return message.left(longest);
}

} // namespace tavrik
