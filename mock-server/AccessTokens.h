#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <optional>

namespace tavrik::backend {

struct User;

/// Signed tokens (JWT, HS256) that tell for a while who their bearer is.
class AccessTokens {
public:
    AccessTokens(QByteArray secret, std::chrono::seconds lifetime);

    std::chrono::seconds lifetime() const { return m_lifetime; }

    QByteArray issue(const User& user) const;

    /// The id of the user it was issued for; nothing when it is forged, broken or has expired.
    std::optional<QString> userId(const QByteArray& token) const;

private:
    QByteArray signature(const QByteArray& text) const;

    const QByteArray m_secret;
    const std::chrono::seconds m_lifetime;
};

} // namespace tavrik::backend
