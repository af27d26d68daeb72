#pragma once

#include "account/AuthSession.h"
#include "base/Result.h"

#include <QJsonObject>

// Parsing of the auth server's replies.
namespace tavrik {

/// The reply's JSON object; empty if the body is anything else.
QJsonObject authReplyObject(const QByteArray& body);

/// The server's error message, or one with the status if there is none.
Error authReplyError(const QJsonObject& reply, int status);

/// The session of a reply with tokens received at `now`; `email` serves if the reply names no address.
Result<AuthSession> authReplySession(const QJsonObject& reply, const QString& email, AuthSession::Time now);

/// The address in a reply about the user.
std::optional<QString> authReplyEmail(const QByteArray& body);

} // namespace tavrik
