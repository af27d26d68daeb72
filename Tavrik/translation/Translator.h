#pragma once

#include "services/Supabase.h"
#include "translation/AbstractTranslator.h"

#include <QObject>

namespace tavrik {

class Account;
class HttpClient;
class MainQueue;
class Settings;

/// Sends a whole recording to a language model: through the backend for a signed-in user, else straight to
/// the chat-completions service with the user's own key. Keeps nothing between requests.
class Translator final : public QObject, public AbstractTranslator {
    Q_OBJECT

public:
    Translator(Account& account, Settings& settings, HttpClient& http, MainQueue& queue, Supabase backend,
               QUrl openRouterEndpoint);

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
};

} // namespace tavrik
