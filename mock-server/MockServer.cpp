#include "mock-server/MockServer.h"

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

MockServer::MockServer(Options options)
    : m_controllable(options.controllable), m_hosts(std::move(options.hosts)),
      m_models(m_http, std::move(options.upstream)), m_accounts(std::move(options.accounts)),
      m_manifest(std::move(options.releaseManifest)) {
    addRoutes();
    addAccountRoutes();
    if (m_controllable)
        addControlRoutes();
}

std::optional<ScriptedReply> MockServer::script(const Request& head) {
    if (head.path.startsWith(controlPrefix))
        return {};
    const auto next = std::ranges::find_if(
        m_script, [&](const auto& reply) { return reply.path.isEmpty() || reply.path == head.path; });
    if (next == m_script.end())
        return {};
    return m_script.takeAt(next - m_script.begin());
}

void MockServer::received(const Request& request) {
    if (!m_controllable || request.path.startsWith(controlPrefix))
        return;
    if (m_requests.size() == remembered)
        m_requests.removeFirst();
    m_requests.append(request);
}

void MockServer::answer(const Request& request, Responder respond) {
    // A page of the web whose name leads to this machine may not use what is here for the user's programs.
    if (!isOurs(request.header("Host")))
        return respond(Reply::json(421, {{u"message"_s, u"Ask for 127.0.0.1 or localhost"_s}}));
    const auto route = m_routes.constFind(request.path);
    if (route == m_routes.constEnd())
        respond(notFound());
    else
        (*route)(request, std::move(respond));
}

bool MockServer::isOurs(const QByteArray& host) const {
    const auto name = QString::fromLatin1(host.split(':').front());
    return name == u"127.0.0.1" || name == u"localhost" || m_hosts.contains(name);
}

void MockServer::addRoutes() {
    m_routes[ModelService::path] = [this](const Request& request, Responder respond) {
        m_chatCompletions.answer(request, std::move(respond));
    };
    m_routes["/functions/v1/translate"] = [this](const Request& request, Responder respond) {
        m_translate.answer(request, std::move(respond));
    };
    m_routes[ReleaseManifest::path] = [this](const Request& request, Responder respond) {
        respond(m_manifest.answer(request));
    };
}

void MockServer::addAccountRoutes() {
    const auto add = [this](const QByteArray& path, auto& part, auto reply) {
        m_routes[path] = [&part, reply](const Request& request, Responder respond) {
            respond((part.*reply)(request));
        };
    };
    add("/auth/v1/signup", m_accounts, &AuthService::signUp);
    add("/auth/v1/token", m_accounts, &AuthService::token);
    add("/auth/v1/user", m_accounts, &AuthService::user);
    add("/auth/v1/authorize", m_pages, &BrowserPages::authorize);
    add("/auth/v1/callback", m_pages, &BrowserPages::authorized);
    add("/auth/v1/verify", m_pages, &BrowserPages::verify);
    add("/mail", m_pages, &BrowserPages::mail);
}

void MockServer::addControlRoutes() {
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

Reply MockServer::requestList() const {
    QJsonArray list;
    for (const auto& request : m_requests)
        list.append(describe(request));
    return Reply::json(200, {{u"requests"_s, list}});
}

} // namespace tavrik::backend
