#include "mock-server/AuthService.h"

#include "mock-server/RequestChecks.h"
#include "mock-server/Secrets.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QUrlQuery>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace tavrik::mock {

namespace {

constexpr qsizetype minimumPasswordLength = 6;

Reply grantRefusal(const QString& error, const QString& description) {
    return Reply::json(400, {{u"error"_s, error}, {u"error_description"_s, description}});
}

Reply notSaved() {
    return refusal(500, u"The account could not be saved"_s);
}

bool isAddress(const QString& text) {
    static const QRegularExpression address(u"^[^@\\s]+@[^@\\s]+$"_s);
    return text.size() <= 255 && address.match(text).hasMatch();
}

QJsonObject describe(const User& user) {
    QJsonObject object{{u"id"_s, user.id},
                       {u"aud"_s, u"authenticated"_s},
                       {u"role"_s, u"authenticated"_s},
                       {u"email"_s, user.email},
                       {u"created_at"_s, user.createdAt}};
    if (user.confirmed)
        object[u"email_confirmed_at"_s] = user.createdAt;
    return object;
}

User newUser(const QString& email, bool confirmed) {
    return {.id = QUuid::createUuid().toString(QUuid::WithoutBraces),
            .email = email,
            .confirmed = confirmed,
            .createdAt = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)};
}

/// The reason to refuse a new password, if any.
std::optional<QString> passwordProblem(const QByteArray& password) {
    if (password.size() < minimumPasswordLength)
        return u"Password should be at least %1 characters."_s.arg(minimumPasswordLength);
    if (password.size() > maximumPasswordLength)
        return u"Password cannot be longer than %1 characters"_s.arg(maximumPasswordLength);
    return {};
}

} // namespace

AuthService::AuthService(Options options)
    : m_users(std::move(options.users)), m_tokenLifetime(options.tokenLifetime),
      m_confirmsEmail(options.confirmsEmail) {}

Reply AuthService::signUp(const Request& request) {
    if (const auto checked = checkPost(request); !checked)
        return checked.error();
    const auto body = readObject(request);
    if (!body)
        return body.error();
    const auto email = body->value(u"email"_s).toString().toLower();
    const auto password = body->value(u"password"_s).toString().toUtf8();
    if (!isAddress(email))
        return refusal(400, u"Unable to validate email address: invalid format"_s);
    if (const auto problem = passwordProblem(password))
        return refusal(422, *problem);

    const auto* known = m_users.withEmail(email);
    if (known && known->confirmed)
        return refusal(422, u"User already registered"_s);
    // Signing up again before confirming sends another message and changes the password.
    auto user = known ? *known : newUser(email, !m_confirmsEmail);
    user.passwordHash = hashPassword(password);
    if (!m_users.put(user))
        return notSaved();
    if (user.confirmed)
        return sessionReply(user);
    m_mailbox[randomToken()] = email;
    return Reply::json(200, describe(user));
}

Reply AuthService::token(const Request& request) {
    if (const auto checked = checkPost(request); !checked)
        return checked.error();
    const auto body = readObject(request);
    if (!body)
        return body.error();
    const auto grant = QUrlQuery(QString::fromLatin1(request.query)).queryItemValue(u"grant_type"_s);
    if (grant == u"password")
        return passwordGrant(*body);
    if (grant == u"refresh_token")
        return refreshGrant(*body);
    return grantRefusal(u"unsupported_grant_type"_s, u"Unsupported grant type"_s);
}

Reply AuthService::passwordGrant(const QJsonObject& body) {
    const auto* user = m_users.withEmail(body[u"email"_s].toString().toLower());
    const auto password = body[u"password"_s].toString().toUtf8();
    if (!user || passwordProblem(password) || !passwordMatches(password, user->passwordHash))
        return grantRefusal(u"invalid_grant"_s, u"Invalid login credentials"_s);
    if (!user->confirmed)
        return grantRefusal(u"invalid_grant"_s, u"Email not confirmed"_s);
    return sessionReply(*user);
}

Reply AuthService::refreshGrant(const QJsonObject& body) {
    const auto next = randomToken();
    const auto* user = m_users.replaceRefreshToken(body[u"refresh_token"_s].toString().toUtf8(), next);
    if (!user)
        return refusal(400, u"Invalid Refresh Token: Refresh Token Not Found"_s);
    return Reply::json(200, session(*user, next));
}

Reply AuthService::user(const Request& request) const {
    if (auto checked = checkRequest(request, "GET"); !checked)
        return checked.error();
    const auto* user = bearer(request);
    return user ? Reply::json(200, describe(*user)) : refusal(401, u"Invalid or expired access token"_s);
}

const User* AuthService::bearer(const Request& request) const {
    const auto claims =
        QJsonDocument::fromJson(verify(request.bearerToken(), m_users.secret()).value_or(QByteArray()));
    if (claims[u"exp"_s].toInteger() <= QDateTime::currentSecsSinceEpoch())
        return nullptr;
    return m_users.withId(claims[u"sub"_s].toString());
}

std::optional<QJsonObject> AuthService::signInConfirmed(const QString& email) {
    const auto address = email.toLower();
    if (!isAddress(address))
        return {};
    const auto* known = m_users.withEmail(address);
    auto user = known ? *known : newUser(address, true);
    // Whoever signed up without confirming may not keep access to the account.
    if (!user.confirmed)
        user.passwordHash.clear();
    user.confirmed = true;
    if (!m_users.put(user))
        return {};
    return newSession(user);
}

bool AuthService::confirm(const QByteArray& token) {
    const auto* known = m_users.withEmail(m_mailbox.take(token));
    if (!known)
        return false;
    auto user = *known;
    user.confirmed = true;
    return m_users.put(user);
}

std::optional<QJsonObject> AuthService::newSession(const User& user) {
    const auto refreshToken = randomToken();
    if (!m_users.addRefreshToken(refreshToken, user.id))
        return {};
    return session(user, refreshToken);
}

Reply AuthService::sessionReply(const User& user) {
    const auto members = newSession(user);
    return members ? Reply::json(200, *members) : notSaved();
}

QByteArray AuthService::accessToken(const User& user) const {
    // Two tokens of the same second differ.
    const QJsonObject claims{{u"sub"_s, user.id},
                             {u"jti"_s, QString::fromLatin1(randomToken())},
                             {u"exp"_s, QDateTime::currentSecsSinceEpoch() + m_tokenLifetime.count()}};
    return sign(QJsonDocument(claims).toJson(QJsonDocument::Compact), m_users.secret());
}

QJsonObject AuthService::session(const User& user, const QByteArray& refreshToken) const {
    return {{u"access_token"_s, QString::fromLatin1(accessToken(user))},
            {u"token_type"_s, u"bearer"_s},
            {u"expires_in"_s, static_cast<qint64>(m_tokenLifetime.count())},
            {u"refresh_token"_s, QString::fromLatin1(refreshToken)},
            {u"user"_s, describe(user)}};
}

} // namespace tavrik::mock
