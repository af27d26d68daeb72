#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <optional>

namespace tavrik {

/// The session of a signed-in user.
struct AuthSession {
    using Seconds = std::chrono::duration<double>;
    using Time = std::chrono::sys_time<Seconds>;

    QString accessToken;
    QString refreshToken;
    /// By the local clock: when the token was received plus its lifetime.
    Time expiresAt;
    QString email;

    bool operator==(const AuthSession&) const = default;

    /// Whether the access token is valid for more than another 60 seconds.
    bool isFresh(Time now) const;

    /// The stored form: a JSON object, times in seconds since 2001-01-01 UTC.
    QByteArray toJson() const;

    /// Nothing if a member is missing or of the wrong type. Unknown members are ignored.
    static std::optional<AuthSession> fromJson(const QByteArray& json);
};

} // namespace tavrik
