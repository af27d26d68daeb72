#pragma once

#include <QTextStream>

namespace tavrik {

/// Where a command reads from and writes to.
struct CommandStreams {
    QTextStream& in;
    QTextStream& out;
    QTextStream& err;
};

/// What a command leaves behind as its process's exit status.
enum ExitStatus : int {
    exitDone = 0,
    /// It could not be done, or what was asked for is not there.
    exitNot = 1,
    /// The arguments make no sense.
    exitUsage = 2,
};

} // namespace tavrik
