#pragma once

#include <QString>

namespace tavrik {

/// Where this desktop keeps a program's files. The folders need not exist yet.
struct Folders {
    /// The user's own data of this program: the history.
    QString applicationSupport;
    /// Recordings in progress.
    QString temporary;
};

} // namespace tavrik
