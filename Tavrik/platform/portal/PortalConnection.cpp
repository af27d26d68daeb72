#include "platform/portal/PortalConnection.h"

#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

const auto service = u"org.freedesktop.portal.Desktop"_s;
const auto objectPath = u"/org/freedesktop/portal/desktop"_s;
const auto registryInterface = u"org.freedesktop.host.portal.Registry"_s;
const auto applicationId = u"io.nordvex.tavrik"_s;

QDBusMessage message(const QString& interface, const QString& method, const QVariantList& arguments) {
    auto call = QDBusMessage::createMethodCall(service, objectPath, interface, method);
    call.setArguments(arguments);
    return call;
}

Error describe(const QDBusError& error) {
    switch (error.type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::Disconnected:
        return {u"There is no desktop portal."_s};
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return {u"The desktop portal does not answer."_s};
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownObject:
    case QDBusError::InvalidArgs: // how a property of an unknown interface is refused
        return {u"The desktop portal does not offer this."_s};
    default:
        return {u"The desktop portal reports an error: "_s + error.message()};
    }
}

} // namespace

PortalConnection::PortalConnection(const QDBusConnection& bus) : m_bus(bus) {
    auto* watcher = new QDBusServiceWatcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString& before, const QString& now) { ownerChanged(before, now); });
    auto* implementations = new QDBusServiceWatcher(u"org.freedesktop.impl.portal.desktop*"_s, m_bus,
                                                    QDBusServiceWatcher::WatchForUnregistration, this);
    connect(implementations, &QDBusServiceWatcher::serviceUnregistered, this,
            &PortalConnection::implementationVanished);
}

void PortalConnection::ownerChanged(const QString& before, const QString& now) {
    if (!before.isEmpty()) {
        m_registration = Registration::none;
        for (const auto& call : std::exchange(m_waiting, {})) {
            if (call.owner)
                call.done(std::unexpected(Error{u"The desktop portal has ended."_s}));
        }
        Q_EMIT vanished();
    }
    if (!now.isEmpty())
        Q_EMIT appeared();
}

void PortalConnection::call(const QString& interface, const QString& method, const QVariantList& arguments,
                            QObject& owner, Completion<QVariantList> done) {
    Call call{message(interface, method, arguments), &owner, std::move(done)};
    if (m_registration == Registration::done)
        return send(call);
    m_waiting.push_back(std::move(call));
    registerApplication();
}

void PortalConnection::send(const Call& call) {
    if (!call.owner)
        return;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call.message), call.owner);
    connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, done = call.done] {
        watcher->deleteLater();
        if (watcher->isError())
            done(std::unexpected(describe(watcher->error())));
        else
            done(watcher->reply().arguments());
    });
}

void PortalConnection::askVersion(const QString& interface, QObject& owner,
                                  std::function<void(uint)> answered) {
    call(u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {interface, u"version"_s}, owner,
         [answered = std::move(answered)](const Result<QVariantList>& reply) {
             answered(reply ? reply->value(0).value<QDBusVariant>().variant().toUInt() : 0);
         });
}

/// The calls are sent whatever comes of it: portals without a registry find out by themselves who asks, or
/// do without.
void PortalConnection::registerApplication() {
    if (m_registration == Registration::underWay)
        return;
    m_registration = Registration::underWay;
    const auto call = message(registryInterface, u"Register"_s, {applicationId, QVariantMap()});
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, watcher, &QObject::deleteLater);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this] {
        m_registration = Registration::done;
        for (const auto& waiting : std::exchange(m_waiting, {}))
            send(waiting);
    });
    // The reply of a portal that has ended says nothing about the next.
    connect(this, &PortalConnection::vanished, watcher, &QObject::deleteLater);
    connect(this, &PortalConnection::vanished, watcher, [watcher] { watcher->disconnect(); });
}

} // namespace tavrik
