#pragma once

#include "account/Account.h"
#include "account/AuthSession.h"
#include "services/Endpoints.h"

#include <QObject>

#include <vector>

class QJsonObject;

namespace tavrik {

class MainQueue;
class SecureSlot;
struct CallbackTokens;

/// The signed-in user: sign-in, sign-up, sign-out, token refresh. Reads the secure slot once, when it is
/// constructed; the slot, the client and the queue must outlive it. Main thread only. Completions are called
/// through the main queue unless noted otherwise, exactly once while the store lives.
class AuthStore final : public QObject, public Account {
    Q_OBJECT

public:
    AuthStore(SecureSlot& slot, HttpClient& http, MainQueue& queue, Supabase backend);

    /// The published session. Changes one turn of the main queue after isSignedIn() and the tokens.
    const std::optional<AuthSession>& session() const { return m_published; }

    /// The error of the latest sign-in in the browser.
    const std::optional<QString>& lastOAuthError() const { return m_lastOAuthError; }

    /// Takes effect at once. To be called before the browser is opened.
    void clearLastOAuthError() { setLastOAuthError(std::nullopt); }

    /// The page to open in the browser; empty in a build without a backend.
    QUrl googleSignInURL() const { return m_backend.googleSignInUrl(); }

    /// Signs in; a failure changes nothing. E-mail and password are sent exactly as given.
    void signIn(const QString& email, const QString& password, Completion<void> completion);

    /// Creates an account. Delivers whether it has to be confirmed first; if not, its user is signed in.
    void signUp(const QString& email, const QString& password, Completion<bool> completion);

    /// Takes effect at once, on this machine only. Pending operations do not sign the user in again: a
    /// refresh, the reading of the stored session, a sign-in in the browser.
    void signOut();

    /// Handles the raw bytes of a URL that the program was asked to open. The outcome appears in session() or
    /// lastOAuthError().
    void handleCallback(const QByteArray& url);

    bool isSignedIn() const override { return m_current.has_value(); }
    void whenSessionLoaded(std::function<void()> callback) override;

    /// Refreshes a token with a minute or less left; if that fails for any reason, the user is signed out.
    void withValidAccessToken(Completion<QString> completion) override;

Q_SIGNALS:
    void sessionAboutToChange();
    void sessionChanged();
    void lastOAuthErrorAboutToChange();
    void lastOAuthErrorChanged();

private:
    void readSlot();
    void finishLoading();

    void post(const QUrl& url, const QJsonObject& body, Completion<QJsonObject> completion);
    void fetchEmail(const QString& accessToken, std::function<void(const QString&)> completion);

    Result<void> applySession(const Result<QJsonObject>& reply, const QString& email);
    void finishCallback(const CallbackTokens& tokens, const QString& email);
    void saveSession(AuthSession session);
    void removeSession();
    void setCurrent(std::optional<AuthSession> session);

    void publish(const std::optional<AuthSession>& session);
    void setLastOAuthError(const std::optional<QString>& error);

    template<class Function>
    auto whileAlive(Function function);

    SecureSlot& m_slot;
    HttpClient& m_http;
    MainQueue& m_queue;
    const Supabase m_backend;

    std::optional<AuthSession> m_current;
    std::optional<AuthSession> m_published;
    std::optional<QString> m_lastOAuthError;

    bool m_reading = false;
    bool m_loaded = false;
    std::vector<std::function<void()>> m_loadedCallbacks;
    int m_signOuts = 0;
};

} // namespace tavrik
