#include "translation/Translator.h"

#include "account/Account.h"
#include "base/MainQueue.h"
#include "preferences/Settings.h"
#include "services/HttpClient.h"
#include "translation/Replies.h"
#include "translation/RequestBody.h"

#include <QFile>
#include <QPointer>

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

/// A completion that parses the response for another.
Completion<HttpResponse> parsing(Result<QString> (*parse)(const HttpResponse&),
                                 Completion<QString> completion) {
    return [parse, completion = std::move(completion)](const Result<HttpResponse>& response) mutable {
        completion(response ? parse(*response) : std::unexpected(response.error()));
    };
}

} // namespace

Translator::Translator(Account& account, Settings& settings, HttpClient& http, MainQueue& queue,
                       Supabase backend, QUrl openRouterEndpoint, std::chrono::milliseconds timeout)
    : m_account(account), m_settings(settings), m_http(http), m_queue(queue), m_backend(std::move(backend)),
      m_openRouterEndpoint(std::move(openRouterEndpoint)), m_timeout(timeout) {}

void Translator::prepare() {
    m_account.whenSessionLoaded([self = QPointer<Translator>(this)] {
        if (!self)
            return;
        if (self->m_account.isSignedIn())
            self->m_http.openConnection(self->m_backend.url);
        else if (!self->m_settings.openRouterKey().isEmpty())
            self->m_http.openConnection(self->m_openRouterEndpoint);
    });
}

void Translator::translate(const QString& audioFile, Completion<QString> completion) {
    QFile file(audioFile);
    QByteArray audio;
    if (file.open(QIODevice::ReadOnly))
        audio = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return completion(std::unexpected(Error{file.errorString()}));

    // Shared, because the callback must be copyable.
    auto shared = std::make_shared<Completion<QString>>(std::move(completion));
    m_account.whenSessionLoaded(
        [self = QPointer<Translator>(this), audio, language = m_settings.targetLanguage(), shared] {
            if (self)
                self->route(audio, language, std::move(*shared));
        });
}

void Translator::route(const QByteArray& audio, const QString& language, Completion<QString> completion) {
    if (!m_account.isSignedIn()) {
        if (m_settings.openRouterKey().isEmpty())
            return completion(std::unexpected(Error{u"Sign in first: menubar icon → Open Tavrik."_s}));
        return callOpenRouter(audio, language, std::move(completion));
    }
    m_account.withValidAccessToken([self = QPointer<Translator>(this), audio, language,
                                    completion = std::move(completion)](Result<QString> token) mutable {
        if (!self)
            return;
        if (token)
            return self->callEdgeFunction(audio, language, *token, std::move(completion));
        self->m_queue.post([completion = std::move(completion), error = token.error()]() mutable {
            completion(std::unexpected(std::move(error)));
        });
    });
}

void Translator::callEdgeFunction(const QByteArray& audio, const QString& language, const QString& token,
                                  Completion<QString> completion) {
    auto headers = m_backend.headers(token);
    headers.emplaceBack("Content-Type", "application/json");
    m_http.send({.method = "POST",
                 .url = m_backend.translateUrl(),
                 .headers = std::move(headers),
                 .body = translateBody(audio, language),
                 .timeout = m_timeout},
                parsing(&readBackendReply, std::move(completion)));
}

void Translator::callOpenRouter(const QByteArray& audio, const QString& language,
                                Completion<QString> completion) {
    m_http.send({.method = "POST",
                 .url = m_openRouterEndpoint,
                 .headers = {{"Authorization", "Bearer " + m_settings.openRouterKey().toUtf8()},
                             {"Content-Type", "application/json"}},
                 .body = chatBody(audio, language, m_settings.model()),
                 .timeout = m_timeout},
                parsing(&readOpenRouterReply, std::move(completion)));
}

} // namespace tavrik
