#include "platform/linux/DBusApplicationInstance.h"

#include "platform/linux/BusNames.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QObject>
#include <QTimer>
#include <QVariantMap>

#include <chrono>
#include <utility>

namespace tavrik {

using namespace Qt::StringLiterals;

namespace {

const QString serviceName = QLatin1StringView(bus::serviceName);
const QString objectPath = QLatin1StringView(bus::objectPath);
constexpr auto* startedByBus = "DBUS_STARTER_BUS_TYPE";

QByteArray activationToken(const QVariantMap& platformData) {
    for (const auto key : {"activation-token"_L1, "desktop-startup-id"_L1})
        if (const auto token = platformData.value(key).toString(); !token.isEmpty())
            return token.toUtf8();
    return {};
}

class ApplicationAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    ApplicationAdaptor(QObject* object, const ApplicationInstance::Handlers& handlers)
        : QDBusAbstractAdaptor(object), m_handlers(handlers) {}

public Q_SLOTS:
    void Activate(const QVariantMap& data) {
        afterReply([this, token = activationToken(data), launch = std::exchange(m_awaitsLaunch, false)] {
            launch ? m_handlers.launched(token) : m_handlers.reopened(token);
        });
    }
    void Open(const QStringList& uris, const QVariantMap& data) {
        m_awaitsLaunch = false;
        QByteArrayList urls;
        for (const auto& uri : uris)
            urls << uri.toUtf8();
        afterReply([this, urls, token = activationToken(data)] { m_handlers.urlsOpened(urls, token); });
    }
    void ActivateAction(const QString&, const QVariantList&, const QVariantMap& data) { Activate(data); }

private:
    /// The caller does not wait for a window to be built.
    void afterReply(const std::function<void()>& handle) { QTimer::singleShot(0, this, handle); }

    const ApplicationInstance::Handlers& m_handlers;
    /// Whether the bus has started this process for a call that is still to come.
    bool m_awaitsLaunch = qEnvironmentVariableIsSet(startedByBus) && qunsetenv(startedByBus);
};

/// The arguments are microseconds of the clock that all processes share and nobody sets.
class HotKeyAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "io.nordvex.tavrik.HotKey")

public:
    HotKeyAdaptor(QObject* object, const ApplicationInstance::Handlers& handlers)
        : QDBusAbstractAdaptor(object), m_handlers(handlers) {}

public Q_SLOTS:
    void Press(qlonglong time) { receive(HotKeyCommand::Kind::press, time); }
    void Release(qlonglong time) { receive(HotKeyCommand::Kind::release, time); }
    void Toggle(qlonglong time) { receive(HotKeyCommand::Kind::toggle, time); }

private:
    void receive(HotKeyCommand::Kind kind, qlonglong time) {
        m_handlers.hotKeyCommand(
            {kind, std::chrono::steady_clock::time_point(std::chrono::microseconds(time))});
    }

    const ApplicationInstance::Handlers& m_handlers;
};

class StatusAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "io.nordvex.tavrik.Status")

public:
    StatusAdaptor(QObject* object, const ApplicationInstance::Handlers& handlers)
        : QDBusAbstractAdaptor(object), m_handlers(handlers) {}

public Q_SLOTS:
    QString Get(bool& canDictate) {
        const auto report = m_handlers.status();
        canDictate = report.canDictate;
        return report.text;
    }

private:
    const ApplicationInstance::Handlers& m_handlers;
};

} // namespace

/// The object on the bus.
struct DBusApplicationInstance::Service : QObject {
    explicit Service(Handlers given) : handlers(std::move(given)) {
        new ApplicationAdaptor(this, handlers);
        new HotKeyAdaptor(this, handlers);
        new StatusAdaptor(this, handlers);
    }

    const Handlers handlers;
};

DBusApplicationInstance::DBusApplicationInstance() = default;

DBusApplicationInstance::~DBusApplicationInstance() {
    if (!m_service)
        return;
    auto bus = QDBusConnection::sessionBus();
    bus.unregisterService(serviceName);
    bus.unregisterObject(objectPath);
}

std::optional<StatusReport> DBusApplicationInstance::askStatus() {
    auto call =
        QDBusMessage::createMethodCall(serviceName, objectPath, u"io.nordvex.tavrik.Status"_s, u"Get"_s);
    call.setAutoStartService(false);
    // The shared connection delivers nothing until the event loop runs of the application object that it was
    // made under.
    const auto connection = u"status"_s;
    const QDBusPendingReply<QString, bool> reply(
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, connection)
            .call(call, QDBus::Block, bus::answerTimeout));
    QDBusConnection::disconnectFromBus(connection);
    if (!reply.isValid())
        return std::nullopt;
    return StatusReport{reply.argumentAt<0>(), reply.argumentAt<1>()};
}

bool DBusApplicationInstance::claim(Handlers handlers) {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return true;
    auto service = std::make_unique<Service>(std::move(handlers));
    // The object first: whoever sees the name may call at once.
    bus.registerObject(objectPath, service.get(), QDBusConnection::ExportAdaptors);
    const auto reply =
        bus.interface()->registerService(serviceName, QDBusConnectionInterface::DontQueueService,
                                         QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceNotRegistered) {
        bus.unregisterObject(objectPath);
        return false;
    }
    m_service = std::move(service);
    return true;
}

} // namespace tavrik

#include "DBusApplicationInstance.moc"
