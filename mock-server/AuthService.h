#pragma once

#include "mock-server/Http.h"
#include "mock-server/UserStore.h"

#include <QMap>

#include <chrono>
#include <optional>

namespace tavrik::mock {

/// Accounts: sign-up, sign-in, refresh, user information, and the steps that take place in a browser or a
/// mailbox.
class AuthService {
public:
    struct Options {
        UserStore users = {};
        std::chrono::seconds tokenLifetime = std::chrono::hours(1);
        /// New accounts must confirm their address before they can sign in.
        bool confirmsEmail = false;
    };

    explicit AuthService(Options options);

    /// POST {"email", "password"}: a session, or only the user if the address is to be confirmed. Then an
    /// account that is there already gets a made-up user, so that nobody learns of it.
    Reply signUp(const Request& request);

    /// POST: a session for a password ("email", "password") or a refresh token ("refresh_token").
    Reply token(const Request& request);

    /// GET: the user of the access token.
    Reply user(const Request& request) const;

    /// The user of the request's access token; null when that is missing, forged or expired.
    const User* bearer(const Request& request) const;

    /// Creates an account for the address if there is none, marks it confirmed and signs in: a session's
    /// JSON.
    std::optional<QJsonObject> signInConfirmed(const QString& email);

    /// Open confirmations: addresses by token.
    const QMap<QByteArray, QString>& mailbox() const { return m_mailbox; }

    /// Confirms the token's address; false for an unknown token.
    bool confirm(const QByteArray& token);

private:
    Reply passwordGrant(const QJsonObject& body);
    Reply refreshGrant(const QJsonObject& body);
    QByteArray accessToken(const User& user, const QString& sessionId) const;
    std::optional<QJsonObject> newSession(const User& user);
    Reply sessionReply(const User& user);
    QJsonObject session(const User& user, const QString& id, const QByteArray& refreshToken) const;

    UserStore m_users;
    const std::chrono::seconds m_tokenLifetime;
    const bool m_confirmsEmail;
    QMap<QByteArray, QString> m_mailbox;
};

} // namespace tavrik::mock
