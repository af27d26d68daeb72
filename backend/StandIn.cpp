#include "backend/StandIn.h"

#include <QCryptographicHash>
#include <QJsonArray>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tavrik::backend {

namespace {

constexpr auto controlPrefix = "/control/";

qint64 nanoseconds(std::chrono::steady_clock::time_point moment) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(moment.time_since_epoch()).count();
}

QJsonObject describe(const Request& request) {
    QJsonObject headers;
    for (const auto& [name, value] : request.headers)
        headers[QString::fromUtf8(name)] = QString::fromUtf8(value);
    const auto hash = QCryptographicHash::hash(request.body, QCryptographicHash::Sha256).toHex();
    return {{u"method"_s, QString::fromUtf8(request.method)},
            {u"path"_s, QString::fromUtf8(request.path)},
            {u"query"_s, QString::fromUtf8(request.query)},
            {u"headers"_s, headers},
            {u"bodySize"_s, request.body.size()},
            {u"bodySha256"_s, QString::fromLatin1(hash)},
            {u"complete"_s, request.complete},
            {u"connection"_s, request.connection},
            {u"firstByteNs"_s, nanoseconds(request.firstByte)},
            {u"lastByteNs"_s, nanoseconds(request.lastByte)}};
}

Reply notFound() {
    return Reply::json(404, {{u"message"_s, u"Not Found"_s}});
}

} // namespace

StandIn::StandIn(Options options)
    : m_controllable(options.controllable), m_chatCompletions(m_http, std::move(options.upstream)) {
    addRoutes();
    if (m_controllable)
        addControlRoutes();
}

std::optional<ScriptedReply> StandIn::script(const Request& head) {
    if (head.path.startsWith(controlPrefix))
        return {};
    const auto next = std::ranges::find_if(
        m_script, [&](const auto& reply) { return reply.path.isEmpty() || reply.path == head.path; });
    if (next == m_script.end())
        return {};
    return m_script.takeAt(next - m_script.begin());
}

void StandIn::received(const Request& request) {
    if (!m_controllable || request.path.startsWith(controlPrefix))
        return;
    if (m_requests.size() == remembered)
        m_requests.removeFirst();
    m_requests.append(request);
}

void StandIn::answer(const Request& request, Responder respond) {
    const auto route = m_routes.constFind(request.path);
    if (route == m_routes.constEnd())
        respond(notFound());
    else
        (*route)(request, std::move(respond));
}

void StandIn::addRoutes() {
    m_routes[ChatCompletions::path] = [this](const Request& request, Responder respond) {
        m_chatCompletions.answer(request, std::move(respond));
    };
}

void StandIn::addControlRoutes() {
    // POST: a list of replies to be given next.
    m_routes["/control/replies"] = [this](const Request& request, Responder respond) {
        const auto replies = parseScript(request.body);
        if (!replies)
            return respond(Reply::json(400, {{u"message"_s, replies.error().description}}));
        addScript(*replies);
        respond({});
    };
    // GET: what was asked, oldest first. DELETE: forget it.
    m_routes["/control/requests"] = [this](const Request& request, Responder respond) {
        if (request.method == "DELETE")
            forgetRequests();
        respond(requestList());
    };
    // GET: the body of the latest request.
    m_routes["/control/body"] = [this](const Request&, Responder respond) {
        respond(m_requests.isEmpty() ? notFound() : Reply{.body = m_requests.constLast().body});
    };
}

Reply StandIn::requestList() const {
    QJsonArray list;
    for (const auto& request : m_requests)
        list.append(describe(request));
    return Reply::json(200, {{u"requests"_s, list}});
}

} // namespace tavrik::backend
