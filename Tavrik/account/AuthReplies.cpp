#include "account/AuthReplies.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace tavrik {

QJsonObject authReplyObject(const QByteArray& body) {
    return QJsonDocument::fromJson(body).object();
}

Error authReplyError(const QJsonObject& reply, int status) {
    for (const auto& message : {
             reply.value(u"error_description"),
             reply.value(u"msg"),
             reply.value(u"error").toObject().value(u"message"),
             reply.value(u"message"),
         }) {
        if (message.isString())
            return {message.toString()};
    }
    return {u"Sign-in failed (HTTP %1)"_s.arg(status)};
}

Result<AuthSession> authReplySession(const QJsonObject& reply, const QString& email, AuthSession::Time now) {
    const auto accessToken = reply.value(u"access_token");
    const auto refreshToken = reply.value(u"refresh_token");
    if (!accessToken.isString() || !refreshToken.isString())
        return std::unexpected(Error{u"Unexpected response from the auth server."_s});
    const AuthSession::Seconds lifetime(reply.value(u"expires_in").toDouble(3600));
    return AuthSession{accessToken.toString(), refreshToken.toString(), now + lifetime,
                       reply.value(u"user").toObject().value(u"email").toString(email)};
}

std::optional<QString> authReplyEmail(const QByteArray& body) {
    const auto email = authReplyObject(body).value(u"email");
    return email.isString() ? std::optional(email.toString()) : std::nullopt;
}

} // namespace tavrik
