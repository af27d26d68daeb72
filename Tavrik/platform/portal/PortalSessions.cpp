#include "platform/portal/PortalSessions.h"

#include "platform/portal/PortalConnection.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QPointer>

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

PortalSessions::PortalSessions(PortalConnection& portal) : m_portal(portal) {}

void PortalSessions::close(const QString& path) {
    await(QDBusMessage::createMethodCall(u"org.freedesktop.portal.Desktop"_s, path,
                                         u"org.freedesktop.portal.Session"_s, u"Close"_s));
}

void PortalSessions::closeOrphan(const QString& path) {
    const auto listNames = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/"_s,
                                                          u"org.freedesktop.DBus"_s, u"ListNames"_s);
    await(listNames, [this, path](const QDBusMessage& reply) {
        for (const auto& name : reply.arguments().value(0).toStringList()) {
            if (name.startsWith("org.freedesktop.impl.portal.desktop."_L1))
                await(QDBusMessage::createMethodCall(name, path, u"org.freedesktop.impl.portal.Session"_s,
                                                     u"Close"_s));
        }
    });
}

/// A call on the way to a closed session.
void PortalSessions::await(const QDBusMessage& call,
                           const std::function<void(const QDBusMessage&)>& answered) {
    ++m_closing;
    auto* watcher = new QDBusPendingCallWatcher(m_portal.bus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, answered] {
        watcher->deleteLater();
        if (answered)
            answered(watcher->reply());
        if (--m_closing > 0)
            return;
        for (const auto& ready : std::exchange(m_waiting, {}))
            ready();
    });
}

void PortalSessions::whenNoneCloses(QObject& owner, std::function<void()> ready) {
    if (m_closing == 0)
        return ready();
    m_waiting.push_back([owner = QPointer(&owner), ready = std::move(ready)] {
        if (owner)
            ready();
    });
}

} // namespace tavrik
