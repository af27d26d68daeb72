#include "translation/Translator.h"

#include "account/Account.h"
#include "base/HttpClient.h"
#include "base/MainQueue.h"
#include "storage/Settings.h"
#include "translation/ServiceMessages.h"
#include "translation/TranslatorError.h"

#include <QFile>

#include <utility>

namespace tavrik {

namespace {

Result<QByteArray> readFile(const QString& path) {
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        auto bytes = file.readAll();
        if (file.error() == QFileDevice::NoError)
            return bytes;
    }
    return std::unexpected(Error{QStringLiteral("The recording could not be read: ") + file.errorString()});
}

QUrl withPath(QUrl url, const QString& path) {
    url.setPath(path);
    return url;
}

HttpRequest jsonPost(const QUrl& url, const QString& token, QByteArray body) {
    return {.method = "POST",
            .url = url,
            .headers = {{"Authorization", "Bearer " + token.toUtf8()}, {"Content-Type", "application/json"}},
            .body = std::move(body)};
}

/// Hands the text that `read` finds in the reply to the completion, or the error that took its place.
Completion<HttpResponse> reading(Result<QString> (*read)(const HttpResponse&),
                                 Completion<QString> completion) {
    return [read, completion = std::move(completion)](Result<HttpResponse> response) mutable {
        completion(response ? read(*response) : std::unexpected(std::move(response.error())));
    };
}

} // namespace

Translator::Translator(Account& account, const Settings& settings, HttpClient& http, MainQueue& queue,
                       Endpoints endpoints)
    : m_account(account), m_settings(settings), m_http(http), m_queue(queue),
      m_endpoints(std::move(endpoints)) {}

void Translator::prepare() {
    if (m_account.isSignedIn())
        m_http.openConnection(m_endpoints.backend);
    else if (!m_settings.openRouterKey().isEmpty())
        m_http.openConnection(m_endpoints.openRouter);
}

void Translator::translate(const QString& audioFile, Completion<QString> completion) {
    auto audio = readFile(audioFile);
    if (!audio)
        return completion(std::unexpected(std::move(audio.error())));
    const auto language = m_settings.targetLanguage();
    if (!m_account.isSignedIn()) {
        if (m_settings.openRouterKey().isEmpty())
            return completion(std::unexpected(TranslatorError::notSignedIn()));
        return callOpenRouter(*audio, language, std::move(completion));
    }
    m_account.withValidAccessToken([self = std::weak_ptr(m_self), audio = std::move(*audio), language,
                                    completion = std::move(completion)](Result<QString> token) mutable {
        const auto translator = self.lock();
        if (!translator)
            return;
        if (token)
            return (*translator)->callEdgeFunction(audio, language, *token, std::move(completion));
        (*translator)
            ->m_queue.post([completion = std::move(completion), error = std::move(token.error())]() mutable {
                completion(std::unexpected(std::move(error)));
            });
    });
}

void Translator::callEdgeFunction(const QByteArray& audio, const QString& language, const QString& token,
                                  Completion<QString> completion) {
    auto request = jsonPost(withPath(m_endpoints.backend, QStringLiteral("/functions/v1/translate")), token,
                            translateFunctionBody(audio, language));
    request.headers.emplaceBack("apikey", m_endpoints.backendAnonKey);
    m_http.send(std::move(request), reading(translateFunctionText, std::move(completion)));
}

void Translator::callOpenRouter(const QByteArray& audio, const QString& language,
                                Completion<QString> completion) {
    m_http.send(jsonPost(withPath(m_endpoints.openRouter, QStringLiteral("/api/v1/chat/completions")),
                         m_settings.openRouterKey(),
                         chatCompletionsBody(audio, language, m_settings.model())),
                reading(chatCompletionsText, std::move(completion)));
}

} // namespace tavrik
