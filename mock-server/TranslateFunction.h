#pragma once

#include "mock-server/HttpHandler.h"

namespace tavrik::backend {

class AuthService;
class ModelService;

/// The hosted translate function: for signed-in users only. Asks the real model service if it is available;
/// otherwise answers with what it has measured in the recording.
class TranslateFunction {
public:
    TranslateFunction(const AuthService& accounts, ModelService& models);

    /// POST {"audio", "language"}: {"text"}.
    void answer(const Request& request, HttpHandler::Responder respond);

private:
    const AuthService& m_accounts;
    ModelService& m_models;
};

} // namespace tavrik::backend
