#pragma once

#include <QProcess>

namespace tavrik::test {

/// Runs a command to its end and returns what it printed, without the white space around it.
inline QByteArray output(const QString& command, const QByteArray& input = {}) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.startCommand(command);
    process.write(input);
    process.closeWriteChannel();
    process.waitForFinished();
    return process.readAllStandardOutput().trimmed();
}

} // namespace tavrik::test
