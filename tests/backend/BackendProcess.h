#pragma once

#include <QProcess>
#include <QUrl>

namespace tavrik::test {

/// The stand-in's program, running for as long as this lives.
class BackendProcess {
public:
    explicit BackendProcess(const QStringList& arguments = {}, const QProcessEnvironment& environment =
                                                                   QProcessEnvironment::systemEnvironment()) {
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral(TAVRIK_BACKEND_PROGRAM),
                        QStringList{QStringLiteral("--port"), QStringLiteral("0")} + arguments);
        while (!m_process.canReadLine() && m_process.waitForReadyRead())
            ;
        m_line = m_process.readLine();
    }
    BackendProcess(const BackendProcess&) = delete;
    BackendProcess& operator=(const BackendProcess&) = delete;
    ~BackendProcess() { stop(); }

    /// What it printed when it was ready.
    QByteArray line() const { return m_line; }
    QUrl url(const QString& path = {}) const { return QUrl(QString::fromUtf8(m_line.trimmed()) + path); }
    qint64 processId() const { return m_process.processId(); }

    /// Asks it to end and waits; its exit code, -1 when it had to be killed.
    int stop() {
        if (m_process.state() == QProcess::NotRunning)
            return m_process.exitCode();
        m_process.terminate();
        if (m_process.waitForFinished())
            return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
        m_process.kill();
        m_process.waitForFinished();
        return -1;
    }

    /// Everything it printed after its first line.
    QByteArray rest() { return m_process.readAll(); }

private:
    QProcess m_process;
    QByteArray m_line;
};

} // namespace tavrik::test
