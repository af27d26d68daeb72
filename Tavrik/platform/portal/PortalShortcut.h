#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

#include <optional>

class QDBusArgument;

namespace tavrik {

/// A shortcut as it travels between a program and the portal.
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};

using PortalShortcuts = QList<PortalShortcut>;

/// Makes the two types known to QtDBus.
void registerPortalShortcut();

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut);
const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut);

/// The portal's description of the keys of the shortcut with that id: empty when it has none, nothing when it
/// is not among the received shortcuts.
std::optional<QString> triggerOf(const QString& id, const QVariant& shortcuts);

} // namespace tavrik
