#include "platform/portal/PortalRequest.h"

#include "platform/portal/PortalConnection.h"

#include <QDBusMessage>

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

const auto requestInterface = u"org.freedesktop.portal.Request"_s;

QString nextToken() {
    static int count = 0;
    return u"tavrik%1"_s.arg(++count);
}

} // namespace

void PortalRequest::send(PortalConnection& portal, QObject& owner, const QString& interface,
                         const QString& method, QVariantList arguments, QVariantMap options,
                         Completion<PortalResponse> done) {
    auto* request = new PortalRequest(portal, owner, std::move(done));
    const auto token = nextToken();
    request->m_path = u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(
        portal.bus().baseService().mid(1).replace(u'.', u'_'), token);
    // The response may come before the reply. Without a service name, so that its owner is not asked for.
    auto bus = portal.bus();
    bus.connect({}, request->m_path, requestInterface, u"Response"_s, request,
                SLOT(respond(uint, QVariantMap)));
    options.insert(u"handle_token"_s, token);
    arguments.append(options);
    portal.call(interface, method, arguments, *request, [request](const Result<QVariantList>& reply) {
        if (!reply)
            request->finish(std::unexpected(reply.error()));
    });
}

PortalRequest::PortalRequest(PortalConnection& portal, QObject& owner, Completion<PortalResponse> done)
    : QObject(&owner), m_portal(portal), m_done(std::move(done)) {
    connect(&portal, &PortalConnection::vanished, this,
            [this] { finish(std::unexpected(Error{u"The desktop portal has ended."_s})); });
}

PortalRequest::~PortalRequest() {
    if (m_done)
        m_portal.bus().send(QDBusMessage::createMethodCall(u"org.freedesktop.portal.Desktop"_s, m_path,
                                                           requestInterface, u"Close"_s));
}

void PortalRequest::respond(uint code, const QVariantMap& results) {
    finish(PortalResponse{code, results});
}

void PortalRequest::finish(Result<PortalResponse> response) {
    const auto done = std::exchange(m_done, nullptr);
    deleteLater();
    if (done)
        done(std::move(response));
}

} // namespace tavrik
