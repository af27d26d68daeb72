#pragma once

#include "mock-server/Http.h"
#include "mock-server/MockServer.h"

#include <QTcpServer>

namespace tavrik::test {

/// The mock server within the test's own process, on a port of its own.
class LocalService {
public:
    LocalService() {
        if (!m_server.listen())
            qFatal("%s", qPrintable(m_server.errorString()));
    }

    /// What the next requests get.
    void script(const QList<mock::ScriptedReply>& replies) { m_mockServer.addScript(replies); }

    const QList<mock::Request>& requests() const { return m_mockServer.requests(); }
    int connectionCount() const { return m_server.connectionCount(); }
    QUrl url(const QString& path = {}) const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.port()).arg(path));
    }

private:
    mock::MockServer m_mockServer{{.upstream = {}, .controllable = true}};
    mock::HttpServer m_server{std::make_unique<QTcpServer>(), m_mockServer};
};

} // namespace tavrik::test
