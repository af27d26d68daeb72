#pragma once

#include <QByteArray>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

/// The Secret Service's names, types and messages.
namespace tavrik::secretservice {

using namespace Qt::StringLiterals;

inline const auto service = u"org.freedesktop.secrets"_s;
inline const auto servicePath = u"/org/freedesktop/secrets"_s;
inline const auto serviceInterface = u"org.freedesktop.Secret.Service"_s;
inline const auto collectionInterface = u"org.freedesktop.Secret.Collection"_s;
inline const auto itemInterface = u"org.freedesktop.Secret.Item"_s;
inline const auto promptInterface = u"org.freedesktop.Secret.Prompt"_s;
inline const auto propertiesInterface = u"org.freedesktop.DBus.Properties"_s;
inline const auto isLockedError = u"org.freedesktop.Secret.Error.IsLocked"_s;

using Attributes = QMap<QString, QString>;
using Items = QList<QDBusObjectPath>;

/// A secret as it travels.
struct Secret {
    QDBusObjectPath session;
    QByteArray parameters;
    QByteArray value;
    QString contentType;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Secret& secret);
const QDBusArgument& operator>>(const QDBusArgument& argument, Secret& secret);

/// Needed once before a message is sent.
void registerTypes();

QDBusMessage serviceCall(const QString& method, const QVariantList& arguments);
QDBusMessage collectionCall(const QDBusObjectPath& collection, const QString& method,
                            const QVariantList& arguments);
QDBusMessage itemCall(const QDBusObjectPath& item, const QString& method, const QVariantList& arguments = {});
/// Shows the question that the service has to ask.
QDBusMessage promptCall(const QString& path);
QDBusMessage getProperty(const QString& path, const QString& interface, const QString& name);

/// The paths in a property; none if it is of another type.
Items paths(const QDBusVariant& property);

/// The service's way of saying "no such object".
bool isNull(const QDBusObjectPath& path);

} // namespace tavrik::secretservice
