#pragma once

#include "mock-server/HttpMessage.h"

#include <expected>

// What the hosted project asks of every request, and how it refuses.
namespace tavrik::backend {

/// The public key that the program beside this one was built with.
QByteArray publicKey();

/// {"code", "msg"}.
Reply refusal(int status, const QString& message);

/// The refusal of a request of another method, or without the public key.
std::expected<void, Reply> checkRequest(const Request& request, QByteArrayView method);

/// checkRequest(), and the refusal of a POST that does not say it carries JSON.
std::expected<void, Reply> checkPost(const Request& request);

/// The object that the request carries, or the refusal.
std::expected<QJsonObject, Reply> readObject(const Request& request);

/// readObject() after checkPost().
std::expected<QJsonObject, Reply> readPost(const Request& request);

} // namespace tavrik::backend
