#pragma once

#include <QString>

namespace tavrik {

/// Why an operation failed, in words that can be shown to the user as they stand.
struct Error {
    QString description;

    bool operator==(const Error&) const = default;
};

} // namespace tavrik
