#include "mock-server/HttpServer.h"

#include "mock-server/HttpConnection.h"

#include <QTcpSocket>

#include <utility>

namespace tavrik::backend {

HttpServer::HttpServer(std::unique_ptr<QTcpServer> listener, HttpHandler& handler)
    : m_listener(std::move(listener)), m_handler(handler) {
    connect(m_listener.get(), &QTcpServer::pendingConnectionAvailable, this, &HttpServer::accept);
}

bool HttpServer::listen(quint16 port) {
    return m_listener->listen(QHostAddress::LocalHost, port);
}

void HttpServer::accept() {
    while (auto* socket = m_listener->nextPendingConnection())
        new HttpConnection(*socket, m_handler, ++m_connectionCount);
}

} // namespace tavrik::backend
