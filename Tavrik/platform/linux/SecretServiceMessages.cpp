#include "platform/linux/SecretServiceMessages.h"

#include <QDBusMetaType>

namespace tavrik::secretservice {

namespace {

QDBusMessage message(const QString& path, const QString& interface, const QString& method,
                     const QVariantList& arguments) {
    auto result = QDBusMessage::createMethodCall(service, path, interface, method);
    result.setArguments(arguments);
    return result;
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const Secret& secret) {
    argument.beginStructure();
    argument << secret.session << secret.parameters << secret.value << secret.contentType;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Secret& secret) {
    argument.beginStructure();
    argument >> secret.session >> secret.parameters >> secret.value >> secret.contentType;
    argument.endStructure();
    return argument; // NOLINT(bugprone-return-const-ref-from-parameter): as all of Qt's own do
}

void registerTypes() {
    qDBusRegisterMetaType<Attributes>();
    qDBusRegisterMetaType<Secret>();
    // A slot whose types are not all known by name is not connected.
    qRegisterMetaType<QDBusVariant>();
}

QDBusMessage serviceCall(const QString& method, const QVariantList& arguments) {
    return message(servicePath, serviceInterface, method, arguments);
}

QDBusMessage collectionCall(const QDBusObjectPath& collection, const QString& method,
                            const QVariantList& arguments) {
    return message(collection.path(), collectionInterface, method, arguments);
}

QDBusMessage itemCall(const QDBusObjectPath& item, const QString& method, const QVariantList& arguments) {
    return message(item.path(), itemInterface, method, arguments);
}

QDBusMessage promptCall(const QString& path) {
    const auto noWindow = u""_s;
    return message(path, promptInterface, u"Prompt"_s, {noWindow});
}

QDBusMessage getProperty(const QString& path, const QString& interface, const QString& name) {
    return message(path, propertiesInterface, u"Get"_s, {interface, name});
}

Items paths(const QDBusVariant& property) {
    const auto argument = property.variant().value<QDBusArgument>();
    return argument.currentSignature() == u"ao" ? qdbus_cast<Items>(argument) : Items();
}

bool isNull(const QDBusObjectPath& path) {
    return path.path().isEmpty() || path.path() == u"/";
}

} // namespace tavrik::secretservice
