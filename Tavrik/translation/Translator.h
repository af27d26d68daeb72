#pragma once

#include "services/Endpoints.h"
#include "translation/AbstractTranslator.h"

#include <QObject>

namespace tavrik {

class Account;
class HttpClient;
class MainQueue;
class Settings;

/// Sends whole recordings to a language model: through the backend for a signed-in user, else directly to the
/// chat-completions service with the user's own key. Stateless.
class Translator final : public QObject, public AbstractTranslator {
    Q_OBJECT

public:
    /// `timeout` limits each request.
    Translator(Account& account, Settings& settings, HttpClient& http, MainQueue& queue, Supabase backend,
               QUrl openRouterEndpoint, std::chrono::milliseconds timeout = std::chrono::seconds(60));

    void prepare() override;
    void translate(const QString& audioFile, Completion<QString> completion) override;

private:
    void route(const QByteArray& audio, const QString& language, Completion<QString> completion);
    void callEdgeFunction(const QByteArray& audio, const QString& language, const QString& token,
                          Completion<QString> completion);
    void callOpenRouter(const QByteArray& audio, const QString& language, Completion<QString> completion);

    Account& m_account;
    Settings& m_settings;
    HttpClient& m_http;
    MainQueue& m_queue;
    const Supabase m_backend;
    const QUrl m_openRouterEndpoint;
    const std::chrono::milliseconds m_timeout;
};

} // namespace tavrik
