#pragma once

#include "mock-server/Http.h"

#include <expected>

// The checks that the hosted project makes on every request, and its refusals.
namespace tavrik::mock {

/// The public key that the program of this build sends.
QByteArray publicKey();

/// {"code", "msg"}, and "error_code" if one is given.
Reply refusal(int status, const QString& message, const QString& errorCode = {});

/// Refuses a request of another method, or without the public key.
std::expected<void, Reply> checkRequest(const Request& request, QByteArrayView method);

/// Refuses what checkRequest() refuses, and a POST whose content type is not JSON.
std::expected<void, Reply> checkPost(const Request& request);

/// The request's JSON object, or the refusal.
std::expected<QJsonObject, Reply> readObject(const Request& request, const QString& errorCode = {});

} // namespace tavrik::mock
