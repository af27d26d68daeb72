#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QStringList>

namespace tavrik {

using namespace Qt::StringLiterals;

/// A D-Bus service of all objects, on a bus of its own.
class FakeService : public QDBusVirtualObject {
public:
    explicit FakeService(const QString& name) {
        m_daemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
        m_daemon.waitForReadyRead();
        m_address = QString::fromLatin1(m_daemon.readLine().trimmed());
        auto bus = QDBusConnection::connectToBus(m_address, u"service"_s);
        bus.registerVirtualObject(u"/"_s, this, QDBusConnection::SubPath);
        bus.registerService(name);
    }

    ~FakeService() override {
        QDBusConnection::disconnectFromBus(u"client"_s);
        QDBusConnection::disconnectFromBus(u"service"_s);
        m_daemon.terminate();
        m_daemon.waitForFinished();
    }

    /// The service's own connection.
    static QDBusConnection bus() { return QDBusConnection(u"service"_s); }

    /// The tested program's connection.
    QDBusConnection client() const { return QDBusConnection::connectToBus(m_address, u"client"_s); }

    QString introspect(const QString&) const override { return {}; }

    /// Methods in the order of their calls.
    QStringList calls;

private:
    QProcess m_daemon;
    QString m_address;
};

} // namespace tavrik
