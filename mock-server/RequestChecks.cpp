#include "mock-server/RequestChecks.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace tavrik::mock {

QByteArray publicKey() {
    return QByteArrayLiteral(TAVRIK_BACKEND_ANON_KEY);
}

Reply refusal(int status, const QString& message, const QString& errorCode) {
    QJsonObject body{{u"code"_s, status}, {u"msg"_s, message}};
    if (!errorCode.isEmpty())
        body[u"error_code"_s] = errorCode;
    return Reply::json(status, body);
}

std::expected<void, Reply> checkRequest(const Request& request, QByteArrayView method) {
    if (request.method != method)
        return std::unexpected(refusal(405, u"Method Not Allowed"_s));
    // The gateway in front of the services answers in a shape of its own.
    const auto key = request.header("apikey");
    if (key == publicKey())
        return {};
    return std::unexpected(Reply::json(
        401, key.isEmpty() ? QJsonObject{{u"message"_s, u"No API key found in request"_s},
                                         {u"hint"_s, u"No `apikey` request header or url param was found."_s}}
                           : QJsonObject{{u"message"_s, u"Invalid API key"_s}}));
}

std::expected<void, Reply> checkPost(const Request& request) {
    auto checked = checkRequest(request, "POST");
    if (checked && !request.isJson())
        return std::unexpected(refusal(415, u"Content-Type must be application/json"_s));
    return checked;
}

std::expected<QJsonObject, Reply> readObject(const Request& request, const QString& errorCode) {
    const auto document = QJsonDocument::fromJson(request.body);
    if (!document.isObject())
        return std::unexpected(
            refusal(400, u"Could not parse the request's body as a JSON object"_s, errorCode));
    return document.object();
}

} // namespace tavrik::mock
