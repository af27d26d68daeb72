#pragma once

#include "platform/KeyCombination.h"

#include <QDBusConnection>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class QObject;

// What the program must know of GNOME's shell beyond the portals. Nothing here blocks. Answers come once, on
// the main thread, never within the call, and not at all once the owner is gone.
namespace tavrik {

/// Asks whether GNOME's shell runs in this session. The answer comes from its main loop, so that it also
/// shows that the shell is not busy; one that does not answer within five seconds counts as there.
void askGnomeShell(const QDBusConnection& bus, QObject& owner, std::function<void(bool)> answered);

/// Asks whether GNOME remembers the shortcut of this program with that id, so that it binds it without a
/// question; nothing if it cannot be found out.
void askGnomeForShortcut(const QString& id, QObject& owner,
                         std::function<void(std::optional<bool>)> answered);

/// Looks for a function of GNOME's own that a trigger ("<Alt>space") is bound to: its name in the settings
/// ("activate-window-menu"), or empty.
void findGnomeKeyBinding(const QString& trigger, QObject& owner, std::function<void(const QString&)> found);

} // namespace tavrik
