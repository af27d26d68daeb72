#pragma once

#include <QProcess>
#include <QUrl>

namespace tavrik::bench {

/// The mock server's program, running for as long as this lives.
class BackendProcess {
public:
    explicit BackendProcess(const QStringList& arguments = {}) {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral(TAVRIK_MOCK_SERVER_PROGRAM),
                        QStringList{QStringLiteral("--port"), QStringLiteral("0")} + arguments);
        while (!m_process.canReadLine() && m_process.waitForReadyRead())
            ;
        m_url = QString::fromUtf8(m_process.readLine().trimmed());
    }
    BackendProcess(const BackendProcess&) = delete;
    BackendProcess& operator=(const BackendProcess&) = delete;
    ~BackendProcess() {
        m_process.terminate();
        m_process.waitForFinished();
    }

    QUrl url(const QString& path = {}) const { return QUrl(m_url + path); }

private:
    QProcess m_process;
    QString m_url;
};

} // namespace tavrik::bench
