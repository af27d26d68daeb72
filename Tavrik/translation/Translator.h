#pragma once

#include "translation/AbstractTranslator.h"
#include "translation/Endpoints.h"

#include <memory>

namespace tavrik {

class Account;
class HttpClient;
class MainQueue;
class Settings;

/// Translates over the backend for a signed-in user, else over the user's own key. Keeps nothing between
/// requests; any number may run at once.
class Translator final : public AbstractTranslator {
public:
    Translator(Account& account, const Settings& settings, HttpClient& http, MainQueue& queue,
               Endpoints endpoints);

    void prepare() override;

    /// If the translator is destroyed while the account is still asked for a token, the completion is
    /// dropped.
    void translate(const QString& audioFile, Completion<QString> completion) override;

private:
    void callEdgeFunction(const QByteArray& audio, const QString& language, const QString& token,
                          Completion<QString> completion);
    void callOpenRouter(const QByteArray& audio, const QString& language, Completion<QString> completion);

    Account& m_account;
    const Settings& m_settings;
    HttpClient& m_http;
    MainQueue& m_queue;
    const Endpoints m_endpoints;
    /// Gone when the translator is.
    const std::shared_ptr<Translator*> m_self = std::make_shared<Translator*>(this);
};

} // namespace tavrik
