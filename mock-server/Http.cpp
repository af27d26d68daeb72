#include "mock-server/Http.h"

#include <QJsonDocument>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

#include <sys/socket.h>

#include <algorithm>

namespace tavrik::mock {

namespace {

using Clock = std::chrono::steady_clock;
using Ending = ScriptedReply::Ending;

constexpr qint64 maximumHead = qint64{64} * 1024;
constexpr qint64 maximumBody = qint64{256} * 1024 * 1024;
constexpr qint64 bufferSize = qint64{256} * 1024;

/// Parses a request line and headers, the empty line excluded; nothing when they are malformed.
std::optional<Request> parseHead(const QByteArray& head) {
    const auto lines = head.split('\n');
    const auto requestLine = lines.front().trimmed().split(' ');
    if (requestLine.size() != 3 || !requestLine[1].startsWith('/') || !requestLine[2].startsWith("HTTP/1."))
        return {};

    Request request;
    request.method = requestLine[0];
    const auto& target = requestLine[1];
    const auto question = target.indexOf('?');
    request.path = question < 0 ? target : target.first(question);
    request.query = question < 0 ? QByteArray() : target.sliced(question + 1);
    for (const auto& line : lines.sliced(1)) {
        const auto colon = line.indexOf(':');
        if (colon < 1)
            return {};
        request.headers.emplaceBack(line.first(colon), line.sliced(colon + 1).trimmed());
    }
    if (const auto length = request.header("Content-Length"); !length.isEmpty()) {
        bool isNumber = false;
        request.contentLength = length.toLongLong(&isNumber);
        if (!isNumber || request.contentLength < 0)
            return {};
    }
    const auto connection = request.header("Connection").toLower();
    request.keepAlive = requestLine[2] == "HTTP/1.0" ? connection == "keep-alive" : connection != "close";
    return request;
}

/// One connection: reads a request, sends its answer, reads the next. A child of its socket, which it deletes
/// when the connection ends.
class Connection : public QObject {
public:
    Connection(QTcpSocket& socket, HttpHandler& handler, int number)
        : QObject(&socket), m_socket(socket), m_handler(handler), m_number(number) {
        m_timer.setSingleShot(true);
        m_timer.setTimerType(Qt::PreciseTimer);
        m_socket.setReadBufferSize(bufferSize);
        m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(&m_socket, &QTcpSocket::readyRead, this, &Connection::read);
        connect(&m_socket, &QTcpSocket::bytesWritten, this, &Connection::sendMore);
        connect(&m_socket, &QTcpSocket::disconnected, this, &Connection::disconnected);
        connect(&m_timer, &QTimer::timeout, this, &Connection::sendMore);
        read();
    }

private:
    enum class State { readingHead, readingBody, answering, sending, ended };

    void read() {
        if (m_state == State::readingHead)
            readHead();
        if (m_state == State::readingBody)
            readBody();
    }

    void readHead() {
        if (m_input.isEmpty())
            m_firstByte = Clock::now();
        m_input += m_socket.readAll();
        const auto end = m_input.indexOf("\r\n\r\n");
        if (end < 0) {
            if (m_input.size() > maximumHead)
                refuse(400);
            return;
        }
        auto request = parseHead(m_input.first(end));
        if (!request)
            return refuse(400);
        m_request = std::move(*request);
        m_request.firstByte = m_firstByte;
        m_request.connection = m_number;
        m_input.remove(0, end + 4);
        if (!m_request.header("Transfer-Encoding").isEmpty())
            return refuse(501);
        if (m_request.contentLength > maximumBody)
            return refuse(413);

        m_script = m_handler.script(m_request);
        m_request.body.reserve(m_request.contentLength);
        m_state = State::readingBody;
        if (m_request.header("Expect").toLower() == "100-continue")
            m_socket.write("HTTP/1.1 100 Continue\r\n\r\n");
    }

    void readBody() {
        const auto earlyEnd = m_script ? m_script->afterRequestBytes : std::nullopt;
        const auto wanted = std::min(earlyEnd.value_or(m_request.contentLength), m_request.contentLength);
        const auto buffered = std::min(wanted - m_request.body.size(), qint64{m_input.size()});
        m_request.body += m_input.first(buffered);
        m_input.remove(0, buffered);
        m_request.body += m_socket.read(wanted - m_request.body.size());
        if (m_request.body.size() < wanted)
            return;

        announce();
        m_state = State::answering;
        if (!m_script) {
            m_handler.answer(m_request, [self = QPointer(this)](Reply reply) {
                if (self)
                    self->send({.reply = std::move(reply)});
            });
        } else if (earlyEnd || (m_script->ending != Ending::complete && !m_script->afterReplyBytes)) {
            end(m_script->ending);
        } else {
            QTimer::singleShot(m_script->delay, this, [this] { send(*m_script); });
        }
    }

    void announce() {
        m_request.lastByte = Clock::now();
        m_request.complete = m_request.body.size() == m_request.contentLength;
        m_handler.received(m_request);
    }

    /// The connection ends with the answer: the next request cannot be told from the rest of this one.
    void refuse(int status) {
        m_request.keepAlive = false;
        send({.reply = {.status = status}});
    }

    void send(ScriptedReply reply) {
        m_state = State::sending;
        m_reply = std::move(reply);
        m_bodySize = m_reply.bodySize.value_or(m_reply.reply.body.size());
        m_sent = 0;
        auto headers = m_reply.reply.headers;
        if (m_reply.chunked)
            headers.emplaceBack("Transfer-Encoding", "chunked");
        else if (!m_reply.closeDelimited)
            headers.emplaceBack("Content-Length", QByteArray::number(m_bodySize));
        if (m_reply.closeDelimited)
            m_request.keepAlive = false;
        if (!m_request.keepAlive)
            headers.emplaceBack("Connection", "close");
        // The reason phrase may be empty.
        auto head = "HTTP/1.1 " + QByteArray::number(m_reply.reply.status) + " \r\n";
        for (const auto& [name, value] : headers)
            head += name + ": " + value + "\r\n";
        m_socket.write(head + "\r\n");
        sendMore();
    }

    void sendMore() {
        if (m_state != State::sending || m_timer.isActive())
            return;
        const auto limit = std::min(m_bodySize, m_reply.afterReplyBytes.value_or(ScriptedReply::endless));
        const bool slowly = m_reply.byteInterval.count() > 0;
        while (m_sent < limit && m_socket.bytesToWrite() < bufferSize) {
            writeBody(slowly ? 1 : std::min(limit - m_sent, bufferSize));
            if (slowly)
                return m_timer.start(m_reply.byteInterval);
        }
        if (m_sent < limit)
            return;
        if (m_reply.ending == Ending::complete)
            finishReply();
        else if (m_socket.bytesToWrite() == 0)
            end(m_reply.ending);
    }

    void writeBody(qint64 length) {
        const auto piece =
            m_reply.bodySize ? QByteArray(length, 'x') : m_reply.reply.body.mid(m_sent, length);
        if (m_reply.chunked)
            m_socket.write(QByteArray::number(piece.size(), 16) + "\r\n" + piece + "\r\n");
        else
            m_socket.write(piece);
        m_sent += piece.size();
    }

    void finishReply() {
        if (m_reply.chunked)
            m_socket.write("0\r\n\r\n");
        if (!m_request.keepAlive)
            return end(Ending::close);
        m_request = {};
        m_state = State::readingHead;
        // There is no signal for a request that has arrived already.
        QTimer::singleShot(0, this, &Connection::read);
    }

    void end(Ending ending) {
        m_state = State::ended;
        if (ending == Ending::close)
            m_socket.disconnectFromHost();
        if (ending != Ending::reset)
            return;
        const linger atOnce{.l_onoff = 1, .l_linger = 0};
        ::setsockopt(static_cast<int>(m_socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce,
                     sizeof atOnce);
        m_socket.abort();
    }

    void disconnected() {
        if (m_state == State::readingBody)
            announce();
        m_state = State::ended;
        m_socket.deleteLater();
    }

    QTcpSocket& m_socket;
    HttpHandler& m_handler;
    const int m_number;
    State m_state = State::readingHead;
    QByteArray m_input;
    Clock::time_point m_firstByte;
    Request m_request;
    std::optional<ScriptedReply> m_script;
    ScriptedReply m_reply;
    qint64 m_bodySize = 0;
    qint64 m_sent = 0;
    QTimer m_timer;
};

} // namespace

QByteArray Request::header(QByteArrayView name) const {
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

bool Request::isJson() const {
    return header("Content-Type").split(';').front().trimmed().toLower() == "application/json";
}

QByteArray Request::bearerToken() const {
    constexpr QByteArrayView scheme = "Bearer ";
    const auto authorization = header("Authorization");
    return authorization.startsWith(scheme) ? authorization.sliced(scheme.size()).trimmed() : QByteArray();
}

Reply Reply::json(int status, const QJsonObject& object) {
    return {
        status, {{"Content-Type", "application/json"}}, QJsonDocument(object).toJson(QJsonDocument::Compact)};
}

HttpServer::HttpServer(std::unique_ptr<QTcpServer> listener, HttpHandler& handler)
    : m_listener(std::move(listener)), m_handler(handler) {
    connect(m_listener.get(), &QTcpServer::pendingConnectionAvailable, this, &HttpServer::accept);
}

bool HttpServer::listen(quint16 port) {
    return m_listener->listen(QHostAddress::LocalHost, port);
}

void HttpServer::accept() {
    while (auto* socket = m_listener->nextPendingConnection())
        new Connection(*socket, m_handler, ++m_connectionCount);
}

} // namespace tavrik::mock
