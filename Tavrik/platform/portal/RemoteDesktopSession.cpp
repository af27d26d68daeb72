#include "platform/portal/RemoteDesktopSession.h"

#include "platform/portal/PortalConnection.h"
#include "platform/portal/PortalRequest.h"

#include <QDBusMessage>
#include <QDBusObjectPath>

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

const auto interface = u"org.freedesktop.portal.RemoteDesktop"_s;
constexpr uint keyboard = 1;
constexpr uint untilRevoked = 2;

QString nextSessionToken() {
    static int count = 0;
    return u"tavrik%1"_s.arg(++count);
}

} // namespace

RemoteDesktopSession::RemoteDesktopSession(PortalConnection& portal, QObject* parent)
    : QObject(parent), m_portal(portal) {}

RemoteDesktopSession::~RemoteDesktopSession() {
    if (!m_path.isEmpty())
        m_portal.bus().send(QDBusMessage::createMethodCall(u"org.freedesktop.portal.Desktop"_s, m_path,
                                                           u"org.freedesktop.portal.Session"_s, u"Close"_s));
}

void RemoteDesktopSession::open(const QString& token, Completion<Opening> done) {
    PortalRequest::send(
        m_portal, *this, interface, u"CreateSession"_s, {}, {{u"session_handle_token"_s, nextSessionToken()}},
        [this, token, done = std::move(done)](const Result<PortalResponse>& response) {
            if (!response)
                return done(std::unexpected(response.error()));
            m_path = response->results.value(u"session_handle"_s).toString();
            if (response->code != PortalResponse::success || m_path.isEmpty())
                return done(std::unexpected(Error{u"The desktop opens no session to paste with."_s}));
            selectKeyboard(token, done);
        });
}

void RemoteDesktopSession::selectKeyboard(const QString& token, const Completion<Opening>& done) {
    QVariantMap options{{u"types"_s, keyboard}, {u"persist_mode"_s, untilRevoked}};
    if (!token.isEmpty())
        options.insert(u"restore_token"_s, token);
    PortalRequest::send(m_portal, *this, interface, u"SelectDevices"_s,
                        {QVariant::fromValue(QDBusObjectPath(m_path))}, options,
                        [this, done](const Result<PortalResponse>& response) {
                            if (!response)
                                return done(std::unexpected(response.error()));
                            if (response->code != PortalResponse::success)
                                return done(std::unexpected(
                                    Error{u"The desktop gives programs no keyboard to paste with."_s}));
                            start(done);
                        });
}

void RemoteDesktopSession::start(const Completion<Opening>& done) {
    const auto noParentWindow = QString();
    PortalRequest::send(
        m_portal, *this, interface, u"Start"_s,
        {QVariant::fromValue(QDBusObjectPath(m_path)), noParentWindow}, {},
        [done](const Result<PortalResponse>& response) {
            if (!response)
                return done(std::unexpected(response.error()));
            const auto devices = response->results.value(u"devices"_s).toUInt();
            done(Opening{
                .allowed = response->code == PortalResponse::success && (devices & keyboard) != 0,
                .nextToken = response->results.value(u"restore_token"_s).toString(),
            });
        });
}

void RemoteDesktopSession::send(std::span<const KeyEvent> events, Completion<void> done) {
    if (events.empty())
        return done({});
    const auto& [key, pressed] = events.front();
    // The next one only after the reply: portals handle calls in threads, and may swap them.
    m_portal.call(
        interface, u"NotifyKeyboardKeycode"_s,
        {QVariant::fromValue(QDBusObjectPath(m_path)), QVariantMap(), key, pressed ? 1U : 0U}, *this,
        [this, rest = events.subspan(1), done = std::move(done)](const Result<QVariantList>& reply) mutable {
            if (!reply)
                return done(std::unexpected(reply.error()));
            send(rest, std::move(done));
        });
}

} // namespace tavrik
