#pragma once

#include "mock-server/Http.h"

#include <QNetworkAccessManager>
#include <QUrl>

namespace tavrik::mock {

class AuthService;

/// The chat-completions service and the hosted translate function. With a key, requests are forwarded to the
/// real chat-completions service; without, the answer describes the recording received.
class TranslationService : public QObject {
    Q_OBJECT

public:
    struct Upstream {
        /// Scheme and host.
        QUrl url = {};
        /// Empty: nothing is forwarded.
        QByteArray key = {};
    };

    static constexpr auto chatPath = "/api/v1/chat/completions";

    TranslationService(const AuthService& accounts, Upstream upstream);

    /// POST: a chat completion of one user message with a recording; the key may be any.
    void completeChat(const Request& request, HttpHandler::Responder respond);

    /// POST {"audio", "language"}: {"text"}, for signed-in users.
    void translate(const Request& request, HttpHandler::Responder respond);

private:
    /// Delivers the reply of the real service; nothing, with the reason, when there is none.
    void forward(const QByteArray& body, std::function<void(std::optional<Reply>, QString)> completion);

    const AuthService& m_accounts;
    const Upstream m_upstream;
    QNetworkAccessManager m_network;
};

} // namespace tavrik::mock
