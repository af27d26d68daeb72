#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <optional>

namespace tavrik {

/// A signed-in user.
struct AuthSession {
    using Seconds = std::chrono::duration<double>;
    using Time = std::chrono::sys_time<Seconds>;

    QString accessToken;
    QString refreshToken;
    /// By this machine's clock: when the token was received, plus the lifetime it was given.
    Time expiresAt;
    QString email;

    bool operator==(const AuthSession&) const = default;

    /// Whether the access token may still be handed out: more than 60 seconds are left.
    bool isFresh(Time now) const;

    /// The form in which a session is kept: one JSON object, its times in seconds since 2001-01-01 UTC.
    QByteArray toJson() const;

    /// Nothing, unless every member is there with its type. Unknown members are ignored.
    static std::optional<AuthSession> fromJson(const QByteArray& json);
};

} // namespace tavrik
