#pragma once

#include "mock-server/HttpHandler.h"

namespace tavrik::backend {

class ModelService;

/// The chat-completions service, for requests that carry one recording: checks what the real service asks
/// for, then passes the request on to it, or without a key answers with what it has measured in the
/// recording.
class ChatCompletions {
public:
    explicit ChatCompletions(ModelService& models) : m_models(models) {}

    /// Answers one request.
    void answer(const Request& request, HttpHandler::Responder respond);

private:
    ModelService& m_models;
};

} // namespace tavrik::backend
