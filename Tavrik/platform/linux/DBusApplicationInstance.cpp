#include "platform/linux/DBusApplicationInstance.h"

#include "platform/linux/RunningInstance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QObject>
#include <QTimer>
#include <QVariantMap>

#include <vector>

namespace tavrik {

namespace {

const QString serviceName = QLatin1String(instanceService);
const QString objectPath = QLatin1String(instancePath);

} // namespace

class DBusApplicationInstance::Service : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit Service(Handlers handlers) : m_handlers(std::move(handlers)) {}

public Q_SLOTS:
    void Activate(const QVariantMap&) {
        afterReply([this] { m_handlers.reopened({}); });
    }
    void Open(const QStringList& uris, const QVariantMap&) {
        QByteArrayList urls;
        for (const auto& uri : uris)
            urls << uri.toUtf8();
        afterReply([this, urls] { m_handlers.urlsOpened(urls, {}); });
    }
    void ActivateAction(const QString&, const QVariantList&, const QVariantMap&) {
        afterReply([this] { m_handlers.reopened({}); });
    }

private:
    /// The caller does not wait for a window to be built.
    void afterReply(const std::function<void()>& handle) { QTimer::singleShot(0, this, handle); }

    Handlers m_handlers;
};

DBusApplicationInstance::DBusApplicationInstance() = default;

DBusApplicationInstance::~DBusApplicationInstance() {
    if (!m_service)
        return;
    auto bus = QDBusConnection::sessionBus();
    bus.unregisterService(serviceName);
    bus.unregisterObject(objectPath);
}

bool DBusApplicationInstance::forward(const QByteArrayList& urls) {
    std::vector<const char*> texts;
    for (const auto& url : urls)
        texts.push_back(url.constData());
    return askRunningInstance(texts);
}

bool DBusApplicationInstance::claim(Handlers handlers) {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return true;
    auto service = std::make_unique<Service>(std::move(handlers));
    // The object first: whoever sees the name may call at once.
    bus.registerObject(objectPath, service.get(), QDBusConnection::ExportAllSlots);
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
