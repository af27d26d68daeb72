#include "mock-server/RequestChecks.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace tavrik::backend {

QByteArray publicKey() {
    return QByteArrayLiteral(TAVRIK_BACKEND_ANON_KEY);
}

Reply refusal(int status, const QString& message) {
    return Reply::json(status, {{u"code"_s, status}, {u"msg"_s, message}});
}

std::expected<void, Reply> checkRequest(const Request& request, QByteArrayView method) {
    if (request.method != method)
        return std::unexpected(refusal(405, u"Method Not Allowed"_s));
    // The gateway in front of the services has a shape of its own.
    const auto key = request.header("apikey");
    if (key.isEmpty())
        return std::unexpected(Reply::json(401, {{u"message"_s, u"No API key found in request"_s}}));
    if (key != publicKey())
        return std::unexpected(Reply::json(401, {{u"message"_s, u"Invalid API key"_s}}));
    return {};
}

std::expected<void, Reply> checkPost(const Request& request) {
    if (auto checked = checkRequest(request, "POST"); !checked)
        return std::unexpected(std::move(checked.error()));
    if (!request.isJson())
        return std::unexpected(refusal(415, u"Content-Type must be application/json"_s));
    return {};
}

std::expected<QJsonObject, Reply> readObject(const Request& request) {
    const auto document = QJsonDocument::fromJson(request.body);
    if (!document.isObject())
        return std::unexpected(refusal(400, u"Could not parse the request's body as a JSON object"_s));
    return document.object();
}

std::expected<QJsonObject, Reply> readPost(const Request& request) {
    if (auto checked = checkPost(request); !checked)
        return std::unexpected(std::move(checked.error()));
    return readObject(request);
}

} // namespace tavrik::backend
