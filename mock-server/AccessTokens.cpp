#include "mock-server/AccessTokens.h"

#include "mock-server/Passwords.h"
#include "mock-server/UserStore.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageAuthenticationCode>

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik::backend {

namespace {

constexpr auto encoding = QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;

QByteArray encoded(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toBase64(encoding);
}

} // namespace

AccessTokens::AccessTokens(QByteArray secret, std::chrono::seconds lifetime)
    : m_secret(std::move(secret)), m_lifetime(lifetime) {}

QByteArray AccessTokens::issue(const User& user) const {
    const auto now = QDateTime::currentSecsSinceEpoch();
    const auto text = encoded({{u"alg"_s, u"HS256"_s}, {u"typ"_s, u"JWT"_s}}) + '.' +
                      encoded({{u"sub"_s, user.id},
                               {u"email"_s, user.email},
                               {u"role"_s, u"authenticated"_s},
                               {u"jti"_s, QString::fromLatin1(randomToken())},
                               {u"iat"_s, now},
                               {u"exp"_s, now + m_lifetime.count()}});
    return text + '.' + signature(text);
}

std::optional<QString> AccessTokens::userId(const QByteArray& token) const {
    const auto dot = token.lastIndexOf('.');
    if (dot < 0 || token.sliced(dot + 1) != signature(token.first(dot)))
        return {};
    const auto payload = QByteArray::fromBase64(token.first(dot).split('.').last(), encoding);
    const auto claims = QJsonDocument::fromJson(payload).object();
    if (claims[u"exp"_s].toInteger() <= QDateTime::currentSecsSinceEpoch())
        return {};
    return claims[u"sub"_s].toString();
}

QByteArray AccessTokens::signature(const QByteArray& text) const {
    return QMessageAuthenticationCode::hash(text, m_secret, QCryptographicHash::Sha256).toBase64(encoding);
}

} // namespace tavrik::backend
