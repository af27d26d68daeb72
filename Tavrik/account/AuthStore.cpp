#include "account/AuthStore.h"

#include "account/AuthReplies.h"
#include "account/CallbackUrl.h"
#include "base/MainQueue.h"
#include "platform/SecureSlot.h"

#include <QJsonDocument>
#include <QPointer>

#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tavrik {

namespace {

AuthSession::Time now() {
    return std::chrono::system_clock::now();
}

Error noBackend() {
    return {u"This build of Tavrik has no server to sign in to."_s};
}

QJsonObject credentials(const QString& email, const QString& password) {
    return {{u"email"_s, email}, {u"password"_s, password}};
}

} // namespace

/// Wraps the function so that it does nothing once the store is gone.
template<class Function>
auto AuthStore::whileAlive(Function function) {
    return [store = QPointer(this),
            function = std::move(function)]<class... Arguments>(Arguments&&... arguments) mutable {
        if (store)
            function(std::forward<Arguments>(arguments)...);
    };
}

AuthStore::AuthStore(SecureSlot& slot, HttpClient& http, MainQueue& queue, Supabase backend)
    : m_slot(slot), m_http(http), m_queue(queue), m_backend(std::move(backend)) {
    if (m_backend.exists())
        readSlot();
    else
        m_loaded = true;
}

void AuthStore::readSlot() {
    m_reading = true;
    m_slot.read(whileAlive([this](const std::optional<QByteArray>& stored) {
        if (!std::exchange(m_reading, false))
            return;
        m_current = stored ? AuthSession::fromJson(*stored) : std::nullopt;
        publish(m_current);
        finishLoading();
    }));
    m_queue.postAfter(1s, whileAlive([this] { finishLoading(); }));
}

void AuthStore::finishLoading() {
    m_loaded = true;
    for (auto& callback : std::exchange(m_loadedCallbacks, {}))
        m_queue.post(whileAlive(std::move(callback)));
}

void AuthStore::whenSessionLoaded(std::function<void()> callback) {
    if (m_loaded)
        return callback();
    m_loadedCallbacks.push_back(std::move(callback));
}

void AuthStore::signIn(const QString& email, const QString& password, Completion<void> completion) {
    post(m_backend.passwordSignInUrl(), credentials(email, password),
         [this, email, completion = std::move(completion)](const Result<QJsonObject>& reply) mutable {
             completion(applySession(reply, email));
         });
}

void AuthStore::signUp(const QString& email, const QString& password, Completion<bool> completion) {
    post(m_backend.signUpUrl(), credentials(email, password),
         [this, email, completion = std::move(completion)](const Result<QJsonObject>& reply) mutable {
             if (reply && !reply->contains(u"access_token"))
                 return completion(true);
             if (const auto applied = applySession(reply, email); !applied)
                 return completion(std::unexpected(applied.error()));
             completion(false);
         });
}

void AuthStore::signOut() {
    ++m_signOuts;
    removeSession();
}

void AuthStore::handleCallback(const QByteArray& url) {
    auto outcome = parseCallbackUrl(url);
    if (!outcome)
        return;
    if (*outcome && !m_backend.exists())
        outcome = std::unexpected(noBackend());
    if (!*outcome) {
        m_queue.post(
            whileAlive([this, message = outcome->error().description] { setLastOAuthError(message); }));
        return;
    }
    fetchEmail((*outcome)->accessToken,
               [this, tokens = **outcome, signOuts = m_signOuts](const QString& email) {
                   if (signOuts == m_signOuts)
                       finishCallback(tokens, email);
               });
}

void AuthStore::withValidAccessToken(Completion<QString> completion) {
    if (!m_current)
        return completion(std::unexpected(Error{u"Not signed in."_s}));
    if (m_current->isFresh(now()))
        return completion(m_current->accessToken);
    post(m_backend.refreshUrl(), {{u"refresh_token"_s, m_current->refreshToken}},
         [this, refreshed = *m_current,
          completion = std::move(completion)](const Result<QJsonObject>& reply) mutable {
             // Signed out, or signed in again, meanwhile: the reply is for neither.
             if (m_current != refreshed)
                 return withValidAccessToken(std::move(completion));
             if (applySession(reply, refreshed.email))
                 return completion(m_current->accessToken);
             removeSession();
             completion(std::unexpected(Error{u"Your session expired — please sign in again."_s}));
         });
}

void AuthStore::post(const QUrl& url, const QJsonObject& body, Completion<QJsonObject> completion) {
    if (!m_backend.exists()) {
        m_queue.post(whileAlive(
            [completion = std::move(completion)]() mutable { completion(std::unexpected(noBackend())); }));
        return;
    }
    HttpRequest request{
        .method = "POST",
        .url = url,
        .headers = m_backend.headers(),
        .body = QJsonDocument(body).toJson(QJsonDocument::Compact),
        .timeout = 30s,
    };
    request.headers.emplaceBack("Content-Type", "application/json");
    m_http.send(std::move(request), whileAlive([completion = std::move(completion)](
                                                   const Result<HttpResponse>& response) mutable {
                    if (!response)
                        return completion(std::unexpected(response.error()));
                    auto reply = authReplyObject(response->body);
                    if (response->status < 200 || response->status > 299)
                        return completion(std::unexpected(authReplyError(reply, response->status)));
                    completion(std::move(reply));
                }));
}

void AuthStore::fetchEmail(const QString& accessToken, std::function<void(const QString&)> completion) {
    HttpRequest request{
        .method = "GET",
        .url = m_backend.userUrl(),
        .headers = m_backend.headers(accessToken),
        .body = {},
        .timeout = 60s,
    };
    m_http.send(std::move(request),
                whileAlive([completion = std::move(completion)](const Result<HttpResponse>& response) {
                    const auto email = response ? authReplyEmail(response->body) : std::nullopt;
                    completion(email.value_or(u"Google account"_s));
                }));
}

Result<void> AuthStore::applySession(const Result<QJsonObject>& reply, const QString& email) {
    if (!reply)
        return std::unexpected(reply.error());
    auto session = authReplySession(*reply, email, now());
    if (!session)
        return std::unexpected(session.error());
    saveSession(std::move(*session));
    return {};
}

void AuthStore::finishCallback(const CallbackTokens& tokens, const QString& email) {
    m_queue.post(whileAlive([this] { setLastOAuthError(std::nullopt); }));
    saveSession({tokens.accessToken, tokens.refreshToken, now() + tokens.lifetime, email});
}

void AuthStore::saveSession(AuthSession session) {
    const auto json = session.toJson();
    setCurrent(std::move(session));
    m_slot.save(json);
}

void AuthStore::removeSession() {
    setCurrent(std::nullopt);
    m_slot.remove();
}

void AuthStore::setCurrent(std::optional<AuthSession> session) {
    if (std::exchange(m_reading, false))
        m_slot.cancelRead();
    m_current = std::move(session);
    m_queue.post(whileAlive([this, published = m_current] { publish(published); }));
    finishLoading();
}

void AuthStore::publish(const std::optional<AuthSession>& session) {
    if (session == m_published)
        return;
    Q_EMIT sessionAboutToChange();
    m_published = session;
    Q_EMIT sessionChanged();
}

void AuthStore::setLastOAuthError(const std::optional<QString>& error) {
    if (error == m_lastOAuthError)
        return;
    Q_EMIT lastOAuthErrorAboutToChange();
    m_lastOAuthError = error;
    Q_EMIT lastOAuthErrorChanged();
}

} // namespace tavrik
