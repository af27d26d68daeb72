#pragma once

#include <QProcess>
#include <QTest>

/// Other programs, as a benchmark needs them: what fails ends it.
namespace tavrik::bench {

/// What the program printed.
inline QByteArray run(const QString& program, const QStringList& arguments, const QByteArray& input = {}) {
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished() || process.exitCode() != 0)
        qFatal("%s failed: %s", qPrintable(program), process.readAllStandardError().constData());
    return process.readAllStandardOutput();
}

/// Ends with its owner.
struct Process : QProcess {
    ~Process() override {
        terminate();
        waitForFinished();
    }
};

/// The mock server, once it listens. Its URL.
inline QString startBackend(QProcess& process, const QString& program, const QStringList& arguments) {
    process.start(program, arguments);
    if (!process.waitForReadyRead())
        qFatal("no backend");
    return QString::fromUtf8(process.readLine().trimmed());
}

/// The program itself, once it stands ready in the status bar.
inline void startTavrik(QProcess& process, const QString& program) {
    process.start(program, {});
    const bool up = QTest::qWaitFor(
        [] {
            return run("busctl", {"--user", "list", "--acquired", "--no-legend"})
                .contains("io.nordvex.tavrik");
        },
        20000);
    if (!up)
        qFatal("the program did not start");
    QTest::qWait(500);
}

/// A session that is kept, as an earlier run would have left it.
inline void storeSession() {
    run("secret-tool",
        {"store", "--label", "session", "service", "io.nordvex.tavrik", "account", "supabase-session"},
        R"({"accessToken":"a","refreshToken":"r","expiresAt":4e9,"email":"someone@example.org"})");
}

/// Time for about a second of speech, a little longer each time: the sound server's blocks begin with the
/// recording, and a release that always fell at the same place in one would always wait as long for its end.
inline void speak() {
    static int takes = 0;
    // Silence would not be sent.
    static const auto voice = run("pactl", {"load-module", "module-sine", "sink=vmic"});
    QTest::qWait(900 + takes++ * 3 % 10);
}

} // namespace tavrik::bench
