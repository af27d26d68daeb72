#pragma once

#include <QByteArray>

namespace tavrik::backend {

/// More bytes than this are not told apart by every hosted service, and are refused here.
constexpr qsizetype longestPassword = 72;

/// A salted hash that costs memory and time to compute; empty when the system's library refuses. The password
/// holds no zero byte.
QByteArray hashPassword(const QByteArray& password);

/// Whether hashPassword() made the hash from this password. Nothing matches an empty hash.
bool passwordMatches(const QByteArray& password, const QByteArray& hash);

/// A text that nobody can guess, safe in URLs.
QByteArray randomToken();

} // namespace tavrik::backend
