#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QTcpServer>

#include <chrono>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

namespace tavrik::mock {

using Headers = QList<std::pair<QByteArray, QByteArray>>;

/// One request as the server received it.
struct Request {
    QByteArray method;
    /// Percent-encoded as sent, without the query.
    QByteArray path;
    /// What follows the question mark.
    QByteArray query;
    Headers headers;
    QByteArray body;
    qint64 contentLength = 0;
    bool keepAlive = true;

    /// Number of the connection, from 1.
    int connection = 0;
    /// False when the connection ended before the whole body had arrived.
    bool complete = false;
    /// On the steady clock, which all processes of the machine share.
    std::chrono::steady_clock::time_point firstByte;
    std::chrono::steady_clock::time_point lastByte;

    /// The first header of that name, in any case; empty when there is none.
    QByteArray header(QByteArrayView name) const;
    /// Whether Content-Type is JSON.
    bool isJson() const;
    /// What follows "Bearer" in Authorization; empty when there is none.
    QByteArray bearerToken() const;
};

/// The answer to one request. Content-Length is added when it is sent.
struct Reply {
    int status = 200;
    Headers headers = {};
    QByteArray body = {};

    static Reply json(int status, const QJsonObject& object);
};

/// A reply prepared in advance, and how the connection is to fail with it.
struct ScriptedReply {
    enum class Ending {
        complete,
        /// A TCP reset.
        reset,
        /// An orderly end of the connection.
        close,
        /// Silence on an open connection; the request is read no further.
        stall,
    };

    static constexpr qint64 endless = std::numeric_limits<qint64>::max();

    /// The only path it is for; empty for any.
    QByteArray path = {};
    Reply reply = {};
    /// Send this many filler bytes as the body instead of the reply's own; `endless` needs `chunked` or
    /// `closeDelimited`.
    std::optional<qint64> bodySize = {};
    bool chunked = false;
    /// Send no Content-Length; the end of the connection ends the body.
    bool closeDelimited = false;
    /// Between the end of the request and the reply.
    std::chrono::milliseconds delay{0};
    /// When not zero, the body is sent one byte at a time, this far apart.
    std::chrono::milliseconds byteInterval{0};

    /// Takes place after this many bytes of the request's body, or of the reply's body; with neither, once
    /// the request has been read, in place of a reply.
    Ending ending = Ending::complete;
    std::optional<qint64> afterRequestBytes = {};
    std::optional<qint64> afterReplyBytes = {};
};

/// Handles a server's requests. For each, the functions are called in this order, on the server's thread.
class HttpHandler {
public:
    /// Sends the answer; does nothing when the connection is gone.
    using Responder = std::function<void(Reply)>;

    HttpHandler() = default;
    HttpHandler(const HttpHandler&) = delete;
    HttpHandler& operator=(const HttpHandler&) = delete;
    virtual ~HttpHandler() = default;

    /// Called when the headers have arrived. A scripted reply replaces answer().
    virtual std::optional<ScriptedReply> script(const Request& head) = 0;

    /// The request has been read, or as much of it as there will be.
    virtual void received(const Request& request) = 0;

    /// Answers a complete request, now or later.
    virtual void answer(const Request& request, Responder respond) = 0;
};

/// A small HTTP/1.1 server on the loopback interface: persistent connections, request bodies with a
/// Content-Length. Single-threaded.
class HttpServer : public QObject {
    Q_OBJECT

public:
    /// The listener decides about TLS; the handler must outlive the server.
    HttpServer(std::unique_ptr<QTcpServer> listener, HttpHandler& handler);

    /// Listens on 127.0.0.1; 0 takes any free port. False when it cannot.
    bool listen(quint16 port = 0);

    quint16 port() const { return m_listener->serverPort(); }
    QString errorString() const { return m_listener->errorString(); }

    /// Connections accepted so far.
    int connectionCount() const { return m_connectionCount; }

private:
    void accept();

    std::unique_ptr<QTcpServer> m_listener;
    HttpHandler& m_handler;
    int m_connectionCount = 0;
};

} // namespace tavrik::mock
