#pragma once

#include "base/MainQueue.h"
#include "mock-server/AuthService.h"
#include "mock-server/BrowserPages.h"
#include "mock-server/ChatCompletions.h"
#include "mock-server/HttpHandler.h"
#include "mock-server/ModelService.h"
#include "mock-server/ReleaseManifest.h"
#include "mock-server/TranslateFunction.h"
#include "services/HttpClient.h"

#include <QHash>
#include <QList>

namespace tavrik::backend {

/// The routes of the mock server, its scripted replies and, where it may be controlled, a record of what it
/// was asked.
class MockServer : public HttpHandler {
public:
    struct Options {
        ModelService::Options upstream = {};
        AuthService::Options accounts = {};
        /// Names by which it may be asked for, besides this machine's own.
        QStringList hosts = {};
        /// Announces the latest release; empty or missing: there is nothing newer.
        QString releaseManifest = {};
        /// Serve /control, and keep the latest requests for it: speech and keys among them.
        bool controllable = false;
    };

    /// How many requests are kept.
    static constexpr int remembered = 64;

    explicit MockServer(Options options);

    /// Replies that take the place of the routes' own, each used once, in order among those of a path.
    void addScript(const QList<ScriptedReply>& replies) { m_script += replies; }

    /// The latest requests, oldest first.
    const QList<Request>& requests() const { return m_requests; }
    void forgetRequests() { m_requests.clear(); }

    std::optional<ScriptedReply> script(const Request& head) override;
    void received(const Request& request) override;
    void answer(const Request& request, Responder respond) override;

private:
    using Route = std::function<void(const Request&, Responder)>;

    bool isOurs(const QByteArray& host) const;
    void addRoutes();
    void addAccountRoutes();
    void addControlRoutes();
    Reply requestList() const;

    const bool m_controllable;
    const QStringList m_hosts;
    MainQueue m_queue;
    HttpClient m_http{m_queue};
    ModelService m_models;
    ChatCompletions m_chatCompletions{m_models};
    AuthService m_accounts;
    BrowserPages m_pages{m_accounts};
    TranslateFunction m_translate{m_accounts, m_models};
    ReleaseManifest m_manifest;
    QHash<QByteArray, Route> m_routes;
    QList<ScriptedReply> m_script;
    QList<Request> m_requests;
};

} // namespace tavrik::backend
