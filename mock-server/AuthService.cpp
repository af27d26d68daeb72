#include "mock-server/AuthService.h"

#include "mock-server/RequestChecks.h"
#include "mock-server/Secrets.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QUrlQuery>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace tavrik::mock {

namespace {

constexpr qsizetype minimumPasswordLength = 6;

Reply invalid(const QString& message) {
    return refusal(400, message, u"validation_failed"_s);
}

Reply badToken(const QString& why) {
    return refusal(403, u"invalid JWT: unable to parse or verify signature, "_s + why, u"bad_jwt"_s);
}

Reply notSaved() {
    return refusal(500, u"The account could not be saved"_s, u"unexpected_failure"_s);
}

bool isAddress(const QString& text) {
    static const QRegularExpression address(u"^[^@\\s]+@[^@\\s]+$"_s);
    return text.size() <= 255 && address.match(text).hasMatch();
}

QString newId() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

QString providerOf(const User& user) {
    return user.passwordHash.isEmpty() ? u"google"_s : u"email"_s;
}

QJsonObject appMetadata(const User& user) {
    return {{u"provider"_s, providerOf(user)}, {u"providers"_s, QJsonArray{providerOf(user)}}};
}

QJsonObject userMetadata(const User& user) {
    return {{u"sub"_s, user.id},
            {u"email"_s, user.email},
            {u"email_verified"_s, user.confirmed},
            {u"phone_verified"_s, false}};
}

QJsonObject describe(const User& user) {
    const QJsonObject identity{{u"identity_id"_s, user.id},
                               {u"id"_s, user.id},
                               {u"user_id"_s, user.id},
                               {u"identity_data"_s, userMetadata(user)},
                               {u"provider"_s, providerOf(user)},
                               {u"email"_s, user.email},
                               {u"created_at"_s, user.createdAt},
                               {u"updated_at"_s, user.createdAt},
                               {u"last_sign_in_at"_s, user.createdAt}};
    QJsonObject object{{u"id"_s, user.id},
                       {u"aud"_s, u"authenticated"_s},
                       {u"role"_s, u"authenticated"_s},
                       {u"email"_s, user.email},
                       {u"phone"_s, QString()},
                       {u"app_metadata"_s, appMetadata(user)},
                       {u"user_metadata"_s, userMetadata(user)},
                       {u"identities"_s, QJsonArray{identity}},
                       {u"created_at"_s, user.createdAt},
                       {u"updated_at"_s, user.createdAt},
                       {u"is_anonymous"_s, false}};
    for (const auto& member :
         user.confirmed ? QStringList{u"email_confirmed_at"_s, u"confirmed_at"_s, u"last_sign_in_at"_s}
                        : QStringList{u"confirmation_sent_at"_s})
        object[member] = user.createdAt;
    return object;
}

User newUser(const QString& email, bool confirmed) {
    return {.id = newId(),
            .email = email,
            .confirmed = confirmed,
            .createdAt = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)};
}

/// The refusal of a new password, if there is a reason.
std::optional<Reply> passwordProblem(const QByteArray& password) {
    if (password.isEmpty())
        return invalid(u"Signup requires a valid password"_s);
    if (password.size() > maximumPasswordLength)
        return invalid(u"Password cannot be longer than %1 characters"_s.arg(maximumPasswordLength));
    if (password.size() >= minimumPasswordLength)
        return {};
    return Reply::json(
        422, {{u"code"_s, 422},
              {u"error_code"_s, u"weak_password"_s},
              {u"msg"_s, u"Password should be at least %1 characters."_s.arg(minimumPasswordLength)},
              {u"weak_password"_s, QJsonObject{{u"reasons"_s, QJsonArray{u"length"_s}}}}});
}

} // namespace

AuthService::AuthService(Options options)
    : m_users(std::move(options.users)), m_tokenLifetime(options.tokenLifetime),
      m_confirmsEmail(options.confirmsEmail) {}

Reply AuthService::signUp(const Request& request) {
    if (const auto checked = checkPost(request); !checked)
        return checked.error();
    const auto body = readObject(request, u"bad_json"_s);
    if (!body)
        return body.error();
    const auto email = body->value(u"email"_s).toString().toLower();
    const auto password = body->value(u"password"_s).toString().toUtf8();
    if (!isAddress(email))
        return invalid(u"Unable to validate email address: invalid format"_s);
    if (const auto problem = passwordProblem(password))
        return *problem;

    const auto* known = m_users.withEmail(email);
    if (known && known->confirmed) {
        if (!m_confirmsEmail)
            return refusal(422, u"User already registered"_s, u"user_already_exists"_s);
        auto madeUp = newUser(email, false);
        madeUp.passwordHash = known->passwordHash;
        auto reply = describe(madeUp);
        reply[u"identities"_s] = QJsonArray();
        return Reply::json(200, reply);
    }
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
    const auto body = readObject(request, u"bad_json"_s);
    if (!body)
        return body.error();
    const auto grant = QUrlQuery(QString::fromLatin1(request.query)).queryItemValue(u"grant_type"_s);
    if (grant == u"password")
        return passwordGrant(*body);
    if (grant == u"refresh_token")
        return refreshGrant(*body);
    return refusal(400, u"unsupported_grant_type"_s, u"invalid_credentials"_s);
}

Reply AuthService::passwordGrant(const QJsonObject& body) {
    const auto email = body[u"email"_s].toString().toLower();
    const auto password = body[u"password"_s].toString().toUtf8();
    if (email.isEmpty())
        return invalid(u"missing email or phone"_s);
    const auto* user = m_users.withEmail(email);
    if (!user || passwordProblem(password) || !passwordMatches(password, user->passwordHash))
        return refusal(400, u"Invalid login credentials"_s, u"invalid_credentials"_s);
    if (!user->confirmed)
        return refusal(400, u"Email not confirmed"_s, u"email_not_confirmed"_s);
    return sessionReply(*user);
}

Reply AuthService::refreshGrant(const QJsonObject& body) {
    const auto next = randomToken();
    const auto known = m_users.replaceRefreshToken(body[u"refresh_token"_s].toString().toUtf8(), next);
    const auto* user = known ? m_users.withId(known->userId) : nullptr;
    if (!known || !user)
        return refusal(400, u"Invalid Refresh Token: Refresh Token Not Found"_s,
                       u"refresh_token_not_found"_s);
    return Reply::json(200, session(*user, known->id, next));
}

Reply AuthService::user(const Request& request) const {
    if (auto checked = checkRequest(request, "GET"); !checked)
        return checked.error();
    const auto token = request.bearerToken();
    if (token.isEmpty())
        return refusal(401, u"This endpoint requires a Bearer token"_s, u"no_authorization"_s);
    if (token.count('.') != 2)
        return badToken(u"token is malformed: token contains an invalid number of segments"_s);
    if (const auto* user = bearer(request))
        return Reply::json(200, describe(*user));
    return badToken(verifiedClaims(token, m_users.secret())
                        ? u"token has invalid claims: token is expired"_s
                        : u"token signature is invalid: signature is invalid"_s);
}

const User* AuthService::bearer(const Request& request) const {
    const auto claims = QJsonDocument::fromJson(
        verifiedClaims(request.bearerToken(), m_users.secret()).value_or(QByteArray()));
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
    const Session next{.id = newId(), .userId = user.id};
    const auto refreshToken = randomToken();
    if (!m_users.addRefreshToken(refreshToken, next))
        return {};
    return session(user, next.id, refreshToken);
}

Reply AuthService::sessionReply(const User& user) {
    const auto members = newSession(user);
    return members ? Reply::json(200, *members) : notSaved();
}

QByteArray AuthService::accessToken(const User& user, const QString& sessionId) const {
    const auto now = QDateTime::currentSecsSinceEpoch();
    const auto method = user.passwordHash.isEmpty() ? u"oauth"_s : u"password"_s;
    const QJsonObject claims{
        {u"iss"_s, u"http://127.0.0.1/auth/v1"_s},
        {u"sub"_s, user.id},
        {u"aud"_s, u"authenticated"_s},
        {u"iat"_s, now},
        {u"exp"_s, now + m_tokenLifetime.count()},
        // Two tokens of the same second differ.
        {u"jti"_s, newId()},
        {u"email"_s, user.email},
        {u"phone"_s, QString()},
        {u"app_metadata"_s, appMetadata(user)},
        {u"user_metadata"_s, userMetadata(user)},
        {u"role"_s, u"authenticated"_s},
        {u"aal"_s, u"aal1"_s},
        {u"amr"_s, QJsonArray{QJsonObject{{u"method"_s, method}, {u"timestamp"_s, now}}}},
        {u"session_id"_s, sessionId},
        {u"is_anonymous"_s, false},
    };
    return signedToken(QJsonDocument(claims).toJson(QJsonDocument::Compact), m_users.secret());
}

QJsonObject AuthService::session(const User& user, const QString& id, const QByteArray& refreshToken) const {
    return {{u"access_token"_s, QString::fromLatin1(accessToken(user, id))},
            {u"token_type"_s, u"bearer"_s},
            {u"expires_in"_s, static_cast<qint64>(m_tokenLifetime.count())},
            {u"expires_at"_s, QDateTime::currentSecsSinceEpoch() + m_tokenLifetime.count()},
            {u"refresh_token"_s, QString::fromLatin1(refreshToken)},
            {u"user"_s, describe(user)}};
}

} // namespace tavrik::mock
