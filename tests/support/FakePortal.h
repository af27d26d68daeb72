#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QHash>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace tavrik {

/// A desktop portal on a bus of its own. Notes what it is asked, and answers as it is told.
class FakePortal : public QDBusVirtualObject {
public:
    struct Response {
        uint code = 0;
        QVariantMap results = {};
    };

    FakePortal() {
        m_daemon.start(
            QStringLiteral("dbus-daemon"),
            {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        m_daemon.waitForReadyRead();
        m_address = QString::fromLatin1(m_daemon.readLine().trimmed());
        auto bus = QDBusConnection::connectToBus(m_address, QStringLiteral("portal"));
        bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
        offer(service(), true);
        offer(QStringLiteral("org.freedesktop.impl.portal.PermissionStore"), true);
    }

    ~FakePortal() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("client"));
        QDBusConnection::disconnectFromBus(QStringLiteral("portal"));
        m_daemon.terminate();
        m_daemon.waitForFinished();
    }

    /// The tested program's connection.
    QDBusConnection client() const {
        return QDBusConnection::connectToBus(m_address, QStringLiteral("client"));
    }

    /// What the program remembers of the portal, as long as that lasts.
    QString grantsPath() const { return m_folder.filePath(QStringLiteral("grants/portals.json")); }

    static QString service() { return QStringLiteral("org.freedesktop.portal.Desktop"); }

    /// Whether a service of that name is on the bus.
    static void offer(const QString& service, bool offered) {
        QDBusConnection bus(QStringLiteral("portal"));
        offered ? bus.registerService(service) : bus.unregisterService(service);
    }

    /// Sends a signal about a shortcut of the session "/session".
    static void sendShortcutSignal(const QString& name, const QString& shortcut, qulonglong time = 0) {
        auto signal =
            QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                                       QStringLiteral("org.freedesktop.portal.GlobalShortcuts"), name);
        signal << QVariant::fromValue(QDBusObjectPath(QStringLiteral("/session"))) << shortcut << time
               << QVariantMap();
        QDBusConnection(QStringLiteral("portal")).send(signal);
    }

    /// Methods in the order of their calls, without those that ask for versions and names.
    QStringList calls;
    /// The arguments of the latest call of each.
    QHash<QString, QVariantList> arguments;
    /// By the interface's last word.
    QHash<QString, uint> versions;
    /// What methods with a Request respond. One that is not here never does.
    QHash<QString, Response> responses;
    /// What methods without a Request reply.
    QHash<QString, QVariant> replies;
    /// The errors of methods that fail.
    QHash<QString, QString> errors;

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        const auto method = message.member();
        auto values = message.arguments();
        if (method == QStringLiteral("Get")) {
            const auto version = versions.value(values.at(0).toString().section(QLatin1Char('.'), -1));
            return bus.send(version ? message.createReply(QVariant::fromValue(QDBusVariant(version)))
                                    : message.createErrorReply(QDBusError::InvalidArgs, QString()));
        }
        for (auto& value : values)
            if (value.canConvert<QDBusArgument>() &&
                value.value<QDBusArgument>().currentType() == QDBusArgument::MapType)
                value = qdbus_cast<QVariantMap>(value);
        if (method != QStringLiteral("Register") && method != QStringLiteral("Ping"))
            calls += method;
        arguments.insert(method, values);
        if (errors.contains(method))
            return bus.send(message.createErrorReply(errors.value(method), QString()));
        const auto token = values.isEmpty()
                               ? QString()
                               : values.last().toMap().value(QStringLiteral("handle_token")).toString();
        if (token.isEmpty())
            return bus.send(replies.contains(method) ? message.createReply(replies.value(method))
                                                     : message.createReply());
        const auto path =
            QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
                .arg(message.service().mid(1).replace(QLatin1Char('.'), QLatin1Char('_')), token);
        bus.send(message.createReply(QVariant::fromValue(QDBusObjectPath(path))));
        if (responses.contains(method)) {
            const auto& [code, results] = responses[method];
            bus.send(QDBusMessage::createSignal(path, QStringLiteral("org.freedesktop.portal.Request"),
                                                QStringLiteral("Response"))
                     << code << results);
        }
        return true;
    }

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_address;
};

} // namespace tavrik
