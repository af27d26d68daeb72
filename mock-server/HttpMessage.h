#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>

#include <chrono>
#include <optional>
#include <utility>

namespace tavrik::backend {

using Headers = QList<std::pair<QByteArray, QByteArray>>;

/// One request as the server saw it.
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

    /// Counts the server's connections from 1.
    int connection = 0;
    /// False when the connection ended, or a script ended it, before the whole body was there.
    bool complete = false;
    /// On the steady clock, which all processes of the machine share.
    std::chrono::steady_clock::time_point firstByte;
    std::chrono::steady_clock::time_point lastByte;

    /// The first header of that name, in any case; empty when there is none.
    QByteArray header(QByteArrayView name) const;
    /// Whether the body is announced as JSON.
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

/// Reads a request line and headers, the empty line excluded; nothing when they are malformed.
std::optional<Request> parseHead(const QByteArray& head);

/// The status line and headers, the empty line included.
QByteArray head(int status, const Headers& headers);

} // namespace tavrik::backend
