#include "platform/portal/PortalShortcut.h"

#include <QDBusArgument>
#include <QDBusMetaType>

using namespace Qt::StringLiterals;

namespace tavrik {

void registerPortalShortcut() {
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<PortalShortcuts>();
}

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument; // NOLINT(bugprone-return-const-ref-from-parameter): as all of Qt's own do
}

std::optional<QString> triggerOf(const QString& id, const QVariant& shortcuts) {
    for (const auto& shortcut : qdbus_cast<PortalShortcuts>(shortcuts)) {
        if (shortcut.id == id)
            return shortcut.properties.value(u"trigger_description"_s).toString();
    }
    return std::nullopt;
}

} // namespace tavrik
