#include "account/AuthStore.h"

#include "account/AuthError.h"
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

QJsonObject credentials(const QString& email, const QString& password) {
    return {{u"email"_s, email}, {u"password"_s, password}};
}

} // namespace

/// The function, which does nothing once the store is gone.
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
        m_known = true;
}

void AuthStore::readSlot() {
    m_reading = true;
    m_slot.read(whileAlive([this](const std::optional<QByteArray>& stored) {
        if (!std::exchange(m_reading, false))
            return;
        m_current = stored ? AuthSession::fromJson(*stored) : std::nullopt;
        publish(m_current);
        becomeKnown();
    }));
    m_queue.postAfter(1s, whileAlive([this] { becomeKnown(); }));
}

void AuthStore::becomeKnown() {
    m_known = true;
    for (auto& callback : std::exchange(m_waiting, {}))
        m_queue.post(whileAlive(std::move(callback)));
}

void AuthStore::whenKnown(std::function<void()> callback) {
    if (m_known)
        return callback();
    m_waiting.push_back(std::move(callback));
}

void AuthStore::signIn(const QString& email, const QString& password, Completion<void> completion) {
    post(u"auth/v1/token?grant_type=password"_s, credentials(email, password),
         [this, email, completion = std::move(completion)](const Result<QJsonObject>& reply) mutable {
             completion(applySession(reply, email));
         });
}

void AuthStore::signUp(const QString& email, const QString& password, Completion<bool> completion) {
    post(u"auth/v1/signup"_s, credentials(email, password),
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
    leave();
}

void AuthStore::handleCallback(const QByteArray& url) {
    auto outcome = parseCallbackUrl(url);
    if (!outcome)
        return;
    if (*outcome && !m_backend.exists())
        outcome = std::unexpected(authError::noBackend());
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
        return completion(std::unexpected(authError::notSignedIn()));
    if (m_current->isFresh(now()))
        return completion(m_current->accessToken);
    post(u"auth/v1/token?grant_type=refresh_token"_s, {{u"refresh_token"_s, m_current->refreshToken}},
         [this, refreshed = *m_current,
          completion = std::move(completion)](const Result<QJsonObject>& reply) mutable {
             // Signed out, or another session has come: the reply belongs to neither.
             if (m_current != refreshed)
                 return withValidAccessToken(std::move(completion));
             if (applySession(reply, refreshed.email))
                 return completion(m_current->accessToken);
             leave();
             completion(std::unexpected(authError::sessionExpired()));
         });
}

void AuthStore::post(const QString& path, const QJsonObject& body, Completion<QJsonObject> completion) {
    if (!m_backend.exists()) {
        m_queue.post(whileAlive([completion = std::move(completion)]() mutable {
            completion(std::unexpected(authError::noBackend()));
        }));
        return;
    }
    HttpRequest request{
        .method = "POST",
        .url = m_backend.endpoint(path),
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
        .url = m_backend.endpoint(u"auth/v1/user"_s),
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
    adopt(std::move(*session));
    return {};
}

void AuthStore::finishCallback(const CallbackTokens& tokens, const QString& email) {
    m_queue.post(whileAlive([this] { setLastOAuthError(std::nullopt); }));
    adopt({tokens.accessToken, tokens.refreshToken, now() + tokens.lifetime, email});
}

void AuthStore::adopt(AuthSession session) {
    const auto json = session.toJson();
    setCurrent(std::move(session));
    m_slot.save(json);
}

void AuthStore::leave() {
    setCurrent(std::nullopt);
    m_slot.remove();
}

void AuthStore::setCurrent(std::optional<AuthSession> session) {
    if (std::exchange(m_reading, false))
        m_slot.cancelRead();
    m_current = std::move(session);
    m_queue.post(whileAlive([this, published = m_current] { publish(published); }));
    becomeKnown();
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
