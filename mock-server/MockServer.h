#pragma once

#include "mock-server/AuthService.h"
#include "mock-server/BrowserPages.h"
#include "mock-server/Http.h"
#include "mock-server/TranslationService.h"

#include <QHash>
#include <QList>

namespace tavrik::mock {

/// The mock server's routes, its scripted replies and, if it may be controlled, a record of its requests.
class MockServer : public HttpHandler {
public:
    struct Options {
        TranslationService::Upstream upstream = {};
        AuthService::Options accounts = {};
        /// Host names it answers to, besides this machine's own.
        QStringList hosts = {};
        /// The release manifest's file, read for every request; where it is missing, this program's own
        /// version is the latest.
        QString releaseManifest = {};
        /// Serve /control, and keep the latest requests for it: speech and keys among them.
        bool controllable = false;
    };

    /// How many requests are kept.
    static constexpr int maximumRequests = 64;

    explicit MockServer(Options options);

    /// Adds replies that replace the routes' own, each used once, in order among those of a path.
    void addScript(const QList<ScriptedReply>& replies) { m_script += replies; }

    /// The latest requests, oldest first.
    const QList<Request>& requests() const { return m_requests; }

    std::optional<ScriptedReply> script(const Request& head) override;
    void received(const Request& request) override;
    void answer(const Request& request, Responder respond) override;

private:
    bool isAllowedHost(const QByteArray& host) const;
    Reply releaseManifest(const Request& request) const;
    Reply addReplies(const Request& request);
    Reply requestList(const Request& request);
    Reply lastBody(const Request& request) const;

    const QStringList m_hosts;
    const QString m_releaseManifest;
    const bool m_controllable;
    AuthService m_accounts;
    BrowserPages m_pages{m_accounts};
    TranslationService m_translation;
    QHash<QByteArray, std::function<Reply(const Request&)>> m_routes;
    QList<ScriptedReply> m_script;
    QList<Request> m_requests;
};

} // namespace tavrik::mock
