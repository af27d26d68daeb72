#pragma once

#include <QByteArray>

#include <optional>

// Passwords, random tokens and signatures.
namespace tavrik::mock {

/// Longer passwords are refused: not every hosted service tells them apart.
constexpr qsizetype maximumPasswordLength = 72;

/// A salted hash that is slow to compute.
QByteArray hashPassword(const QByteArray& password);

/// Whether hashPassword() made the hash from this password. Nothing matches an empty hash.
bool passwordMatches(const QByteArray& password, const QByteArray& hash);

/// 256 random bits, safe in URLs.
QByteArray randomToken();

/// A JSON Web Token with these claims, a JSON object, signed with HS256.
QByteArray signedToken(const QByteArray& claims, const QByteArray& secret);

/// The claims of a token that signedToken() made with this secret; nothing for any other.
std::optional<QByteArray> verifiedClaims(const QByteArray& token, const QByteArray& secret);

} // namespace tavrik::mock
