#pragma once

#include <QTextStream>

namespace tavrik {

/// Where a command reads from and writes to.
struct CommandStreams {
    QTextStream& in;
    QTextStream& out;
    QTextStream& err;
};

/// Exit status of a command.
enum ExitStatus : int {
    exitSuccess = 0,
    /// It failed, or the requested value is not set.
    exitFailure = 1,
    /// Invalid arguments.
    exitUsage = 2,
};

} // namespace tavrik
