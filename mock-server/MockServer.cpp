#include "mock-server/MockServer.h"

#include "base/AppVersion.h"
#include "base/PrivateFiles.h"
#include "mock-server/RequestChecks.h"
#include "mock-server/Script.h"

#include <QCryptographicHash>
#include <QJsonArray>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tavrik::mock {

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

Reply message(int status, const QString& text) {
    return Reply::json(status, {{u"message"_s, text}});
}

} // namespace

MockServer::MockServer(Options options)
    : m_hosts(std::move(options.hosts)), m_releaseManifest(std::move(options.releaseManifest)),
      m_controllable(options.controllable), m_accounts(std::move(options.accounts)),
      m_translation(m_accounts, std::move(options.upstream)) {
    const auto add = [this](const QByteArray& path, auto& object, auto function) {
        m_routes[path] = [&object, function](const Request& request) {
            return (object.*function)(request);
        };
    };
    add("/auth/v1/signup", m_accounts, &AuthService::signUp);
    add("/auth/v1/token", m_accounts, &AuthService::token);
    add("/auth/v1/user", m_accounts, &AuthService::user);
    add("/auth/v1/authorize", m_pages, &BrowserPages::authorize);
    add("/auth/v1/callback", m_pages, &BrowserPages::authorized);
    add("/auth/v1/verify", m_pages, &BrowserPages::verify);
    add("/mail", m_pages, &BrowserPages::mail);
    add("/storage/v1/object/public/releases/version.json", *this, &MockServer::releaseManifest);
    if (!m_controllable)
        return;
    add("/control/replies", *this, &MockServer::addReplies);
    add("/control/requests", *this, &MockServer::requestList);
    add("/control/body", *this, &MockServer::lastBody);
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
    if (m_requests.size() == maximumRequests)
        m_requests.removeFirst();
    m_requests.append(request);
}

void MockServer::answer(const Request& request, Responder respond) {
    // Keeps out web pages whose host name resolves to this machine.
    if (!isAllowedHost(request.header("Host")))
        return respond(message(421, u"Ask for 127.0.0.1 or localhost"_s));
    if (request.path == TranslationService::chatPath)
        return m_translation.completeChat(request, std::move(respond));
    if (request.path == "/functions/v1/translate")
        return m_translation.translate(request, std::move(respond));
    const auto route = m_routes.constFind(request.path);
    respond(route == m_routes.constEnd() ? message(404, u"Not Found"_s) : (*route)(request));
}

bool MockServer::isAllowedHost(const QByteArray& host) const {
    const auto name = QString::fromLatin1(host.split(':').front());
    return name == u"127.0.0.1" || name == u"localhost" || m_hosts.contains(name);
}

Reply MockServer::releaseManifest(const Request& request) const {
    constexpr qint64 maximumSize = qint64{1024} * 1024;
    if (request.method != "GET")
        return refusal(405, u"Method Not Allowed"_s);
    if (const auto content = readRegularFile(m_releaseManifest, maximumSize))
        return {200, {{"Content-Type", "application/json"}}, *content};
    return Reply::json(200, {{u"version"_s, appVersion()},
                             {u"url"_s, u"http://127.0.0.1/"_s},
                             {u"notes"_s, u"This is the version in use."_s}});
}

/// POST: a list of replies to be given next. As JSON only, for which browsers ask before a web page sends it.
Reply MockServer::addReplies(const Request& request) {
    if (request.method != "POST")
        return message(405, u"Method Not Allowed"_s);
    if (!request.isJson())
        return message(415, u"Content-Type must be application/json"_s);
    const auto replies = parseScript(request.body);
    if (!replies)
        return message(400, replies.error().description);
    addScript(*replies);
    return {};
}

/// GET: the requests received, oldest first. DELETE: forget them.
Reply MockServer::requestList(const Request& request) {
    if (request.method == "DELETE")
        m_requests.clear();
    QJsonArray list;
    for (const auto& received : m_requests)
        list.append(describe(received));
    return Reply::json(200, {{u"requests"_s, list}});
}

/// GET: the body of the latest request.
Reply MockServer::lastBody(const Request&) const {
    return m_requests.isEmpty() ? message(404, u"Not Found"_s) : Reply{.body = m_requests.constLast().body};
}

} // namespace tavrik::mock
