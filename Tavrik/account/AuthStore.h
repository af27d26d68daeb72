#pragma once

#include "account/Account.h"
#include "account/AuthSession.h"
#include "services/Supabase.h"

#include <QObject>

#include <vector>

class QJsonObject;

namespace tavrik {

class MainQueue;
class SecureSlot;
struct CallbackTokens;

/// Who is signed in, and the ways in and out. Reads the secure slot once, when it is made; the slot, the
/// client and the queue must outlive it. Main thread only; completions are called on it, through the main
/// queue unless said otherwise, exactly once while the store lives.
class AuthStore final : public QObject, public Account {
    Q_OBJECT

public:
    AuthStore(SecureSlot& slot, HttpClient& http, MainQueue& queue, Supabase backend);

    /// The published session. Follows what isSignedIn() and the tokens already go by, one turn of the main
    /// queue later.
    const std::optional<AuthSession>& session() const { return m_published; }

    /// Why the latest sign-in in the browser failed.
    const std::optional<QString>& lastOAuthError() const { return m_lastOAuthError; }

    /// At once: for whoever is about to open the browser.
    void clearLastOAuthError() { setLastOAuthError(std::nullopt); }

    /// The page to open in the browser; empty in a build without a backend.
    QUrl googleSignInURL() const { return m_backend.googleSignInURL(); }

    /// Signs in; a failure leaves everything as it was. E-mail and password are sent exactly as given.
    void signIn(const QString& email, const QString& password, Completion<void> completion);

    /// Makes an account. Delivers whether it still has to be confirmed; if not, its user is signed in.
    void signUp(const QString& email, const QString& password, Completion<bool> completion);

    /// At once, on this machine only. What was under way for the user does not sign them in again: a reply to
    /// a refresh, the stored session if it is still being read, the end of a sign-in in the browser.
    void signOut();

    /// Takes the bytes of any URL that the program was asked to open. The outcome shows in session() or
    /// lastOAuthError().
    void handleCallback(const QByteArray& url);

    bool isSignedIn() const override { return m_current.has_value(); }
    void whenKnown(std::function<void()> callback) override;

    /// With a minute or less left the token is refreshed first; if that fails for any reason, the user is
    /// signed out.
    void withValidAccessToken(Completion<QString> completion) override;

Q_SIGNALS:
    void sessionAboutToChange();
    void sessionChanged();
    void lastOAuthErrorAboutToChange();
    void lastOAuthErrorChanged();

private:
    void readSlot();
    void becomeKnown();

    void post(const QString& path, const QJsonObject& body, Completion<QJsonObject> completion);
    void fetchEmail(const QString& accessToken, std::function<void(const QString&)> completion);

    Result<void> applySession(const Result<QJsonObject>& reply, const QString& email);
    void finishCallback(const CallbackTokens& tokens, const QString& email);
    void adopt(AuthSession session);
    void leave();
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
    bool m_known = false;
    std::vector<std::function<void()>> m_waiting;
    int m_signOuts = 0;
};

} // namespace tavrik
