#pragma once

#include "platform/KeyCombination.h"

#include <QDBusConnection>
#include <QString>

#include <functional>

class QObject;

namespace tavrik {

/// A shortcut as the desktop has assigned it.
struct AssignedShortcut {
    /// As the program named it.
    QString id;
    /// The desktop's description of the keys.
    QString trigger;
    /// What the program asked for.
    KeyCombination combination;
};

/// Looks for whoever else holds the keys of an assigned shortcut: KDE assigns what is taken without a word,
/// and GNOME what its own functions are bound to. Calls `found` once, on the main thread, never within the
/// call, with a sentence for the user, empty if nobody is known to; not at all once the owner is gone.
void findShortcutConflict(const QDBusConnection& bus, const AssignedShortcut& shortcut, QObject& owner,
                          std::function<void(const QString& conflict)> found);

} // namespace tavrik
