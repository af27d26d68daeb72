#pragma once

#include "backend/HttpHandler.h"

#include <QUrl>

namespace tavrik {
class HttpClient;
}

namespace tavrik::backend {

/// The chat-completions service, for requests that carry one recording: checks what the real service asks
/// for, then passes the request on to it, or without a key answers with what it has measured in the
/// recording.
class ChatCompletions {
public:
    struct Upstream {
        /// Scheme and host of the real service.
        QUrl url;
        /// Empty: nothing is passed on.
        QByteArray key;
    };

    static constexpr auto path = "/api/v1/chat/completions";

    ChatCompletions(HttpClient& http, Upstream upstream);

    /// Answers one request to `path`.
    void answer(const Request& request, HttpHandler::Responder respond);

private:
    void passOn(const Request& request, HttpHandler::Responder respond);

    HttpClient& m_http;
    const Upstream m_upstream;
};

} // namespace tavrik::backend
