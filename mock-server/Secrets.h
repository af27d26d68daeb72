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

/// The text with a signature, safe in URLs.
QByteArray sign(const QByteArray& text, const QByteArray& secret);

/// The text that sign() was given; nothing when somebody else made the token.
std::optional<QByteArray> verify(const QByteArray& token, const QByteArray& secret);

} // namespace tavrik::mock
