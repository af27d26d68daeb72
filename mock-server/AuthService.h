#pragma once

#include "mock-server/AccessTokens.h"
#include "mock-server/HttpMessage.h"
#include "mock-server/UserStore.h"

#include <QMap>

namespace tavrik::backend {

/// The accounts of the mock server: sign-up, sign-in, refresh, the user, and the two steps that need a
/// browser or a mailbox.
class AuthService {
public:
    struct Options {
        UserStore users = {};
        std::chrono::seconds tokenLifetime = std::chrono::hours(1);
        /// A new account can sign in only when its address has been confirmed.
        bool confirmsEmail = false;
    };

    explicit AuthService(Options options);

    /// POST {"email", "password"}: a session, or where addresses are confirmed only the user.
    Reply signUp(const Request& request);

    /// POST: a session for a password ("email", "password") or a refresh token ("refresh_token").
    Reply token(const Request& request);

    /// GET: the bearer of the access token.
    Reply user(const Request& request) const;

    /// The user whose access token the request bears.
    const User* bearer(const Request& request) const;

    /// Makes an account for the address if there is none, takes it as confirmed, and signs its user in:
    /// the members of a session's reply.
    std::optional<QJsonObject> signInConfirmed(const QString& email);

    /// Confirmations that wait for their user: tokens and addresses.
    const QMap<QByteArray, QString>& mailbox() const { return m_mailbox; }

    /// Confirms the address that the token was made for; false for an unknown token.
    bool confirm(const QByteArray& token);

private:
    Reply passwordGrant(const Request& request);
    Reply refreshGrant(const Request& request);
    std::optional<QJsonObject> newSession(const User& user);
    Reply sessionReply(const User& user);
    QJsonObject session(const User& user, const QByteArray& refreshToken) const;

    UserStore m_users;
    const AccessTokens m_tokens;
    const bool m_confirmsEmail;
    QMap<QByteArray, QString> m_mailbox;
};

} // namespace tavrik::backend
