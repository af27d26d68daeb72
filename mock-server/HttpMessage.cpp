#include "mock-server/HttpMessage.h"

#include <QJsonDocument>

namespace tavrik::backend {

namespace {

const char* reason(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 303:
        return "See Other";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 413:
        return "Payload Too Large";
    case 415:
        return "Unsupported Media Type";
    case 421:
        return "Misdirected Request";
    case 422:
        return "Unprocessable Entity";
    case 500:
        return "Internal Server Error";
    case 501:
        return "Not Implemented";
    case 502:
        return "Bad Gateway";
    default:
        return "Status";
    }
}

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
        request.headers.emplaceBack(line.left(colon), line.mid(colon + 1).trimmed());
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

QByteArray head(int status, const Headers& headers) {
    QByteArray result = "HTTP/1.1 " + QByteArray::number(status) + ' ' + reason(status) + "\r\n";
    for (const auto& [name, value] : headers)
        result += name + ": " + value + "\r\n";
    return result + "\r\n";
}

} // namespace tavrik::backend
