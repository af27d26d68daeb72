#include "platform/linux/DBusApplicationInstance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QObject>
#include <QStringDecoder>
#include <QVariantMap>

namespace tavrik {

namespace {

const auto serviceName = QStringLiteral("io.nordvex.tavrik");
const auto objectPath = QStringLiteral("/io/nordvex/tavrik");
const auto interfaceName = QStringLiteral("org.freedesktop.Application");
constexpr int forwardTimeout = 1000; // milliseconds

/// The bus carries only UTF-8: bytes that are none travel percent-encoded, which means the same in a URL.
QString asText(const QByteArray& url) {
    QStringDecoder decode(QStringDecoder::Utf8);
    QString text = decode(url);
    if (!decode.hasError())
        return text;
    QByteArray encoded;
    for (const char byte : url) {
        if (static_cast<unsigned char>(byte) < 0x80)
            encoded += byte;
        else
            encoded += '%' + QByteArray(1, byte).toHex().toUpper();
    }
    return QString::fromLatin1(encoded);
}

} // namespace

class DBusApplicationInstance::Service : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit Service(Handlers handlers) : m_handlers(std::move(handlers)) {}

public Q_SLOTS:
    void Activate(const QVariantMap&) { afterReply(m_handlers.reopened); }
    void Open(const QStringList& uris, const QVariantMap&) {
        QByteArrayList urls;
        for (const auto& uri : uris)
            urls << uri.toUtf8();
        afterReply([this, urls] { m_handlers.urlsOpened(urls); });
    }
    void ActivateAction(const QString&, const QVariantList&, const QVariantMap&) {
        afterReply(m_handlers.reopened);
    }

private:
    /// The caller does not wait for a window to be built.
    void afterReply(const std::function<void()>& handle) {
        QMetaObject::invokeMethod(this, handle, Qt::QueuedConnection);
    }

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
    const auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    auto call =
        QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName,
                                       urls.isEmpty() ? QStringLiteral("Activate") : QStringLiteral("Open"));
    if (!urls.isEmpty()) {
        QStringList uris;
        for (const auto& url : urls)
            uris << asText(url);
        call << uris;
    }
    call << QVariantMap{};
    call.setAutoStartService(false);
    const auto reply = bus.call(call, QDBus::Block, forwardTimeout);
    if (reply.type() != QDBusMessage::ErrorMessage)
        return true;
    // Any other failure comes from a program that is there and does not answer: a second one would not help.
    const auto error = QDBusError(reply).type();
    return error != QDBusError::ServiceUnknown && error != QDBusError::Disconnected &&
           reply.errorName() != QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner");
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
