#pragma once

#include "account/AuthSession.h"
#include "base/Result.h"

#include <QJsonObject>

// What the auth server's replies say.

namespace tavrik {

/// The reply's object; an empty one if the body is anything else.
QJsonObject authReplyObject(const QByteArray& body);

/// Why a request was refused: in the server's words if it gives any.
Error authReplyError(const QJsonObject& reply, int status);

/// The session that a reply with tokens begins at `now`, for the account it names, else for `email`.
Result<AuthSession> authReplySession(const QJsonObject& reply, const QString& email, AuthSession::Time now);

/// The address in the reply to a question about the user.
std::optional<QString> authReplyEmail(const QByteArray& body);

} // namespace tavrik
