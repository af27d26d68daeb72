#pragma once

#include "backend/ChatCompletions.h"
#include "backend/HttpHandler.h"
#include "base/HttpClient.h"
#include "base/MainQueue.h"

#include <QHash>
#include <QList>

namespace tavrik::backend {

/// The routes of the stand-in, its scripted replies and, where it may be controlled, a record of what it was
/// asked.
class StandIn : public HttpHandler {
public:
    struct Options {
        ChatCompletions::Upstream upstream;
        /// Serve /control, and keep the latest requests for it: speech and keys among them.
        bool controllable = false;
    };

    /// How many requests are kept.
    static constexpr int remembered = 64;

    explicit StandIn(Options options);

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

    void addRoutes();
    void addControlRoutes();
    Reply requestList() const;

    const bool m_controllable;
    MainQueue m_queue;
    HttpClient m_http{m_queue};
    ChatCompletions m_chatCompletions;
    QHash<QByteArray, Route> m_routes;
    QList<ScriptedReply> m_script;
    QList<Request> m_requests;
};

} // namespace tavrik::backend
