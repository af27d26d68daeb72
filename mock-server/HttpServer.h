#pragma once

#include <QObject>
#include <QTcpServer>
#include <QUrl>

#include <memory>

namespace tavrik::backend {

class HttpHandler;

/// A small HTTP/1.1 server on the loopback interface: persistent connections, bodies of a stated length. One
/// thread.
class HttpServer : public QObject {
    Q_OBJECT

public:
    /// The listener decides about TLS; the handler must outlive the server.
    HttpServer(std::unique_ptr<QTcpServer> listener, HttpHandler& handler);

    /// Listens on 127.0.0.1; 0 takes any free port. False when it cannot.
    bool listen(quint16 port = 0);

    quint16 port() const { return m_listener->serverPort(); }
    QString errorString() const { return m_listener->errorString(); }

    /// Connections taken so far.
    int connectionCount() const { return m_connectionCount; }

private:
    void accept();

    std::unique_ptr<QTcpServer> m_listener;
    HttpHandler& m_handler;
    int m_connectionCount = 0;
};

} // namespace tavrik::backend
