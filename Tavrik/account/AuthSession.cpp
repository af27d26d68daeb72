#include "account/AuthSession.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tavrik {

namespace {

constexpr AuthSession::Time epoch = std::chrono::sys_days{2001y / 1 / 1};

} // namespace

bool AuthSession::isFresh(Time now) const {
    return expiresAt - now > 60s;
}

QByteArray AuthSession::toJson() const {
    const QJsonObject object{
        {u"accessToken"_s, accessToken},
        {u"refreshToken"_s, refreshToken},
        {u"expiresAt"_s, (expiresAt - epoch).count()},
        {u"email"_s, email},
    };
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<AuthSession> AuthSession::fromJson(const QByteArray& json) {
    const auto object = QJsonDocument::fromJson(json).object();
    const auto accessToken = object.value(u"accessToken");
    const auto refreshToken = object.value(u"refreshToken");
    const auto expiresAt = object.value(u"expiresAt");
    const auto email = object.value(u"email");
    if (!accessToken.isString() || !refreshToken.isString() || !expiresAt.isDouble() || !email.isString())
        return std::nullopt;
    return AuthSession{accessToken.toString(), refreshToken.toString(), epoch + Seconds(expiresAt.toDouble()),
                       email.toString()};
}

} // namespace tavrik
