#pragma once

#include "base/Result.h"

#include <QUrl>

namespace tavrik {
class HttpClient;
struct HttpResponse;
} // namespace tavrik

namespace tavrik::backend {

/// The real chat-completions service, where a key for it is at hand.
class ModelService {
public:
    struct Options {
        /// Scheme and host.
        QUrl url = {};
        /// Empty: nothing is passed on.
        QByteArray key = {};
    };

    static constexpr auto path = "/api/v1/chat/completions";

    ModelService(HttpClient& http, Options options);

    bool isAvailable() const { return !m_options.key.isEmpty(); }

    /// Passes on the body of a request; the reply is delivered through the client's queue.
    void ask(const QByteArray& body, Completion<HttpResponse> completion);

private:
    HttpClient& m_http;
    const Options m_options;
};

} // namespace tavrik::backend
