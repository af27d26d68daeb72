#include "mock-server/AuthService.h"

#include "mock-server/Passwords.h"
#include "mock-server/RequestChecks.h"

#include <QDateTime>
#include <QJsonObject>
#include <QRegularExpression>
#include <QUrlQuery>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace tavrik::backend {

namespace {

constexpr qsizetype shortestPassword = 6;

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

/// What is wrong with a password that is to be used from now on.
std::optional<QString> objection(const QByteArray& password) {
    if (password.size() < shortestPassword)
        return u"Password should be at least %1 characters."_s.arg(shortestPassword);
    if (password.size() > longestPassword)
        return u"Password cannot be longer than %1 characters"_s.arg(longestPassword);
    if (password.contains('\0'))
        return u"Password cannot contain a zero byte"_s;
    return {};
}

} // namespace

AuthService::AuthService(Options options)
    : m_users(std::move(options.users)), m_tokens(m_users.secret(), options.tokenLifetime),
      m_confirmsEmail(options.confirmsEmail) {}

Reply AuthService::signUp(const Request& request) {
    const auto body = readPost(request);
    if (!body)
        return body.error();
    const auto email = body->value(u"email"_s).toString().toLower();
    const auto password = body->value(u"password"_s).toString().toUtf8();
    if (!isAddress(email))
        return refusal(400, u"Unable to validate email address: invalid format"_s);
    if (const auto objected = objection(password))
        return refusal(422, *objected);

    const auto* known = m_users.withEmail(email);
    if (known && known->confirmed)
        return refusal(422, u"User already registered"_s);
    // Whoever asks again before confirming gets another message, and the password given last.
    auto user = known ? *known : newUser(email, !m_confirmsEmail);
    user.passwordHash = hashPassword(password);
    if (user.passwordHash.isEmpty() || !m_users.put(user))
        return notSaved();
    if (user.confirmed)
        return sessionReply(user);
    m_mailbox[randomToken()] = email;
    return Reply::json(200, describe(user));
}

Reply AuthService::token(const Request& request) {
    const auto grant = QUrlQuery(QString::fromLatin1(request.query)).queryItemValue(u"grant_type"_s);
    if (grant == u"password")
        return passwordGrant(request);
    if (grant == u"refresh_token")
        return refreshGrant(request);
    return grantRefusal(u"unsupported_grant_type"_s, u"Unsupported grant type"_s);
}

Reply AuthService::passwordGrant(const Request& request) {
    const auto body = readPost(request);
    if (!body)
        return body.error();
    const auto* user = m_users.withEmail(body->value(u"email"_s).toString().toLower());
    const auto password = body->value(u"password"_s).toString().toUtf8();
    if (!user || objection(password) || !passwordMatches(password, user->passwordHash))
        return grantRefusal(u"invalid_grant"_s, u"Invalid login credentials"_s);
    if (!user->confirmed)
        return grantRefusal(u"invalid_grant"_s, u"Email not confirmed"_s);
    return sessionReply(*user);
}

Reply AuthService::refreshGrant(const Request& request) {
    const auto body = readPost(request);
    if (!body)
        return body.error();
    const auto next = randomToken();
    const auto* user = m_users.replaceRefreshToken(body->value(u"refresh_token"_s).toString().toUtf8(), next);
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
    const auto id = m_tokens.userId(request.bearerToken());
    return id ? m_users.withId(*id) : nullptr;
}

std::optional<QJsonObject> AuthService::signInConfirmed(const QString& email) {
    const auto address = email.toLower();
    if (!isAddress(address))
        return {};
    const auto* known = m_users.withEmail(address);
    auto user = known ? *known : newUser(address, true);
    // A password that nobody confirmed must not open what is from now on somebody's account.
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

QJsonObject AuthService::session(const User& user, const QByteArray& refreshToken) const {
    const auto lifetime = m_tokens.lifetime().count();
    return {{u"access_token"_s, QString::fromLatin1(m_tokens.issue(user))},
            {u"token_type"_s, u"bearer"_s},
            {u"expires_in"_s, static_cast<qint64>(lifetime)},
            {u"refresh_token"_s, QString::fromLatin1(refreshToken)},
            {u"user"_s, describe(user)}};
}

} // namespace tavrik::backend
