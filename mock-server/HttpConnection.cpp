#include "mock-server/HttpConnection.h"

#include <QPointer>
#include <QTcpSocket>

#include <sys/socket.h>

#include <algorithm>
#include <utility>

namespace tavrik::backend {

namespace {

constexpr qint64 inputBuffer = qint64{256} * 1024;
constexpr qint64 outputBuffer = qint64{256} * 1024;
constexpr char filler = 'x';

void reset(QTcpSocket& socket) {
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    socket.abort();
}

} // namespace

HttpConnection::HttpConnection(QTcpSocket& socket, HttpHandler& handler, int number)
    : QObject(&socket), m_socket(socket), m_handler(handler), m_number(number) {
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    m_socket.setReadBufferSize(inputBuffer);
    m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    connect(&m_socket, &QTcpSocket::readyRead, this, &HttpConnection::read);
    connect(&m_socket, &QTcpSocket::bytesWritten, this, &HttpConnection::sendMore);
    connect(&m_socket, &QTcpSocket::disconnected, this, &HttpConnection::disconnected);
    connect(&m_timer, &QTimer::timeout, this, &HttpConnection::sendMore);
    read();
}

void HttpConnection::read() {
    while ((m_state == State::ReadingHead && readHead()) || (m_state == State::ReadingBody && readBody())) {
    }
}

// Both readers tell whether there may be more to do at once.

bool HttpConnection::readHead() {
    if (m_input.isEmpty() && m_socket.bytesAvailable() > 0)
        m_request.firstByte = std::chrono::steady_clock::now();
    m_input += m_socket.readAll();
    const auto end = m_input.indexOf("\r\n\r\n");
    if (end < 0) {
        if (m_input.size() > maximumHead)
            refuse(400);
        return false;
    }
    auto request = parseHead(m_input.left(end));
    if (!request) {
        refuse(400);
        return false;
    }
    request->firstByte = m_request.firstByte;
    request->connection = m_number;
    m_request = std::move(*request);
    m_input.remove(0, end + 4);

    if (!m_request.header("Transfer-Encoding").isEmpty()) {
        refuse(501);
        return false;
    }
    if (m_request.contentLength > maximumBody) {
        refuse(413);
        return false;
    }
    m_script = m_handler.script(m_request);
    m_request.body.reserve(m_request.contentLength);
    m_state = State::ReadingBody;
    if (m_request.header("Expect").toLower() == "100-continue")
        m_socket.write("HTTP/1.1 100 Continue\r\n\r\n");
    return true;
}

bool HttpConnection::readBody() {
    const auto earlyEnd = m_script ? m_script->afterRequestBytes : std::nullopt;
    const auto wanted = std::min(earlyEnd.value_or(m_request.contentLength), m_request.contentLength);
    const auto take = std::min(wanted - m_request.body.size(), qint64{m_input.size()});
    m_request.body += m_input.first(take);
    m_input.remove(0, take);
    m_request.body += m_socket.read(std::min(wanted - m_request.body.size(), m_socket.bytesAvailable()));
    if (m_request.body.size() < wanted)
        return false;

    m_request.lastByte = std::chrono::steady_clock::now();
    m_request.complete = m_request.body.size() == m_request.contentLength;
    m_handler.received(m_request);
    if (m_script && earlyEnd)
        end(m_script->ending);
    else
        finishRequest();
    return true;
}

void HttpConnection::finishRequest() {
    m_state = State::Answering;
    if (m_script) {
        if (m_script->ending != ScriptedReply::Ending::Complete && !m_script->afterReplyBytes)
            return end(m_script->ending);
        QTimer::singleShot(m_script->delay, this, [this] { send(*std::exchange(m_script, {})); });
        return;
    }
    m_handler.answer(m_request, [self = QPointer(this)](Reply reply) {
        if (self)
            self->send({.reply = std::move(reply)});
    });
}

/// The rest of what was sent cannot be told apart from a next request: the connection ends with the answer.
void HttpConnection::refuse(int status) {
    m_request.keepAlive = false;
    send({.reply = {.status = status}});
}

void HttpConnection::send(ScriptedReply reply) {
    m_state = State::Sending;
    m_reply = std::move(reply);
    m_bodySize = m_reply.bodySize.value_or(m_reply.reply.body.size());
    m_sent = 0;
    auto headers = m_reply.reply.headers;
    if (m_reply.chunked)
        headers.emplaceBack("Transfer-Encoding", "chunked");
    else if (!m_reply.closeDelimited)
        headers.emplaceBack("Content-Length", QByteArray::number(m_bodySize));
    if (m_reply.closeDelimited || !m_request.keepAlive) {
        m_request.keepAlive = false;
        headers.emplaceBack("Connection", "close");
    }
    m_socket.write(head(m_reply.reply.status, headers));
    sendMore();
}

void HttpConnection::sendMore() {
    if (m_state != State::Sending || m_timer.isActive())
        return;
    const auto limit = std::min(m_bodySize, m_reply.afterReplyBytes.value_or(ScriptedReply::endless));
    const bool trickles = m_reply.byteInterval.count() > 0;
    while (m_sent < limit && m_socket.bytesToWrite() < outputBuffer) {
        writeBody(trickles ? 1 : std::min(limit - m_sent, outputBuffer));
        if (trickles)
            return m_timer.start(m_reply.byteInterval);
    }
    if (m_sent < limit)
        return;
    if (m_reply.ending == ScriptedReply::Ending::Complete)
        finishReply();
    else if (m_socket.bytesToWrite() == 0)
        end(m_reply.ending);
}

void HttpConnection::writeBody(qint64 length) {
    const auto piece = m_reply.bodySize ? QByteArray(length, filler) : m_reply.reply.body.mid(m_sent, length);
    if (m_reply.chunked)
        m_socket.write(QByteArray::number(piece.size(), 16) + "\r\n" + piece + "\r\n");
    else
        m_socket.write(piece);
    m_sent += piece.size();
}

void HttpConnection::finishReply() {
    if (m_reply.chunked)
        m_socket.write("0\r\n\r\n");
    if (!m_request.keepAlive) {
        m_state = State::Stalled;
        m_socket.disconnectFromHost();
        return;
    }
    m_request = {};
    m_reply = {};
    m_state = State::ReadingHead;
    // From the event loop: what has already arrived announces itself no more.
    QTimer::singleShot(0, this, &HttpConnection::read);
}

void HttpConnection::end(ScriptedReply::Ending ending) {
    m_state = State::Stalled;
    if (ending == ScriptedReply::Ending::Reset)
        reset(m_socket);
    else if (ending == ScriptedReply::Ending::Close)
        m_socket.disconnectFromHost();
}

void HttpConnection::disconnected() {
    if (m_state == State::ReadingBody) {
        m_request.lastByte = std::chrono::steady_clock::now();
        m_handler.received(m_request);
    }
    m_state = State::Stalled;
    m_socket.deleteLater();
}

} // namespace tavrik::backend
