#pragma once

#include "mock-server/Http.h"
#include "mock-server/MockServer.h"

#include <QTcpServer>

namespace tavrik::test {

/// The mock server within the test's own process, on a port of its own.
class LocalService {
public:
    explicit LocalService(std::unique_ptr<QTcpServer> listener = std::make_unique<QTcpServer>())
        : m_server(std::move(listener), m_mockServer) {
        if (!m_server.listen())
            qFatal("%s", qPrintable(m_server.errorString()));
    }

    /// What the next requests get.
    void script(const QList<mock::ScriptedReply>& replies) { m_mockServer.addScript(replies); }

    const QList<mock::Request>& requests() const { return m_mockServer.requests(); }
    int connectionCount() const { return m_server.connectionCount(); }
    QUrl url(const QString& path = {}, const QString& scheme = QStringLiteral("http")) const {
        return QUrl(QStringLiteral("%1://127.0.0.1:%2%3").arg(scheme).arg(m_server.port()).arg(path));
    }

private:
    mock::MockServer m_mockServer{{.upstream = {}, .controllable = true}};
    mock::HttpServer m_server;
};

} // namespace tavrik::test
