#include "platform/portal/ShortcutConflict.h"

#include "platform/portal/GnomeShell.h"
#include "platform/portal/PortalTrigger.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QKeySequence>

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

using Found = std::function<void(const QString&)>;

/// What KDE describes is a key sequence, though perhaps in the user's language. 0 if it cannot be read.
int qtKeys(const AssignedShortcut& shortcut) {
    for (const auto& text :
         {shortcut.trigger, portalTrigger(shortcut.combination).replace(u"LOGO"_s, u"Meta"_s)}) {
        const auto keys = QKeySequence::fromString(text);
        if (keys.count() == 1 && keys[0].key() != Qt::Key_unknown)
            return keys[0].toCombined();
    }
    return 0;
}

void askGnome(const QDBusConnection& bus, const AssignedShortcut& shortcut, QObject& owner, Found found) {
    askGnomeShell(bus, owner, [shortcut, &owner, found = std::move(found)](bool isThere) {
        if (!isThere)
            return found({});
        // GNOME describes the keys as "Press <Alt>space".
        const auto trigger = shortcut.trigger.section(u' ', -1);
        findGnomeKeyBinding(trigger, owner, [found](const QString& binding) {
            if (binding.isEmpty())
                return found({});
            found(u"GNOME opens %1 with this shortcut. Choose another one here, or remove it from GNOME's "
                  "settings under Keyboard."_s.arg(
                      binding == u"activate-window-menu" ? u"its window menu"_s : u"“%1”"_s.arg(binding)));
        });
    });
}

} // namespace

void findShortcutConflict(const QDBusConnection& bus, const AssignedShortcut& shortcut, QObject& owner,
                          std::function<void(const QString& conflict)> found) {
    auto call = QDBusMessage::createMethodCall(u"org.kde.kglobalaccel"_s, u"/kglobalaccel"_s,
                                               u"org.kde.KGlobalAccel"_s, u"action"_s);
    call.setArguments({qtKeys(shortcut)});
    call.setAutoStartService(false);
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), &owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [watcher, bus, shortcut, &owner, found = std::move(found)] {
                         watcher->deleteLater();
                         const QDBusPendingReply<QStringList> reply(*watcher);
                         if (!reply.isValid())
                             return askGnome(bus, shortcut, owner, found);
                         // Component, action, and the two as the user reads them.
                         const auto holder = reply.value();
                         if (holder.value(1).isEmpty() || holder.value(1) == shortcut.id)
                             return found({});
                         found(u"“%1” of %2 holds this shortcut. Choose another one here, or remove it in "
                               "System Settings under Shortcuts."_s.arg(holder.value(3), holder.value(2)));
                     });
}

} // namespace tavrik
