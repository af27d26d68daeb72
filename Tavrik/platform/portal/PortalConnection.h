#pragma once

#include "base/Result.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantList>

#include <functional>
#include <vector>

namespace tavrik {

/// A connection to the desktop portal on which the program goes by its application id, whoever started it.
/// Nothing here blocks. Main thread only.
class PortalConnection final : public QObject {
    Q_OBJECT

public:
    /// The bus connection must not be used for other calls to the portal: it takes the application id only
    /// as the first of a connection.
    explicit PortalConnection(const QDBusConnection& bus);

    const QDBusConnection& bus() const { return m_bus; }

    /// Calls a method of the portal's main object, starting the portal if need be. `done` is called once,
    /// never within this call, with the reply's arguments or an error; not at all once the owner is gone.
    void call(const QString& interface, const QString& method, const QVariantList& arguments, QObject& owner,
              Completion<QVariantList> done);

    /// Asks for the version of one of the portal's interfaces; 0 where it is not offered. Calls `answered` as
    /// call() calls `done`.
    void askVersion(const QString& interface, QObject& owner, std::function<void(uint)> answered);

Q_SIGNALS:
    /// The portal has left the bus: its sessions and requests are gone.
    void vanished();

    /// One of the programs that do the portal's work has left the bus: what it did is gone, though the portal
    /// may still keep sessions and requests of it.
    void implementationVanished();

    /// A portal has come to the bus, perhaps because of a call.
    void appeared();

private:
    enum class Registration { none, underWay, done };

    struct Call {
        QDBusMessage message;
        QPointer<QObject> owner;
        Completion<QVariantList> done;
    };

    void ownerChanged(const QString& before, const QString& now);
    void registerApplication();
    void send(const Call& call);

    QDBusConnection m_bus;
    Registration m_registration = Registration::none;
    /// Those that wait for the registration.
    std::vector<Call> m_waiting;
};

} // namespace tavrik
