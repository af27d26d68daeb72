#include "platform/portal/ModifierRelease.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QTimer>

#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tavrik {

namespace {

constexpr auto patience = 1s;
constexpr auto pollInterval = 20ms;
// From one modifier to the next, when a hand leaves the keyboard.
constexpr auto settling = 100ms;
// Both times are given in whole milliseconds.
constexpr auto tolerance = 5ms;

} // namespace

ModifierRelease::ModifierRelease(const QDBusConnection& bus) : m_bus(bus) {
    m_bus.connect({}, u"/org/freedesktop/portal/desktop"_s, u"org.freedesktop.portal.GlobalShortcuts"_s,
                  u"Deactivated"_s, this, SLOT(deactivated(QDBusMessage)));
}

/// The shortcut's id has its modifiers, as the preferences store them: "dictate-6144-49".
void ModifierRelease::deactivated(const QDBusMessage& signal) {
    const auto arguments = signal.arguments();
    m_keyUp.reset();
    if (arguments.value(1).toString().section(u'-', 1, 1).toUInt() == 0)
        return;
    const auto now = Clock::now();
    // Of the clock that all processes share; not every portal keeps to it.
    const Clock::time_point told{std::chrono::milliseconds(arguments.value(2).toLongLong())};
    m_keyUp = told <= now && now - told < patience ? told : now;
}

void ModifierRelease::whenUp(QObject& owner, std::function<void()> up) {
    look(owner, std::move(up), false);
}

void ModifierRelease::look(QObject& owner, std::function<void()> up, bool again) {
    const auto asked = Clock::now();
    if (!m_keyUp || asked - *m_keyUp >= patience)
        return up();
    const auto monitor = u"org.gnome.Mutter.IdleMonitor"_s;
    const auto call = QDBusMessage::createMethodCall(monitor, u"/org/gnome/Mutter/IdleMonitor/Core"_s,
                                                     monitor, u"GetIdletime"_s);
    const auto bound = static_cast<int>(std::chrono::milliseconds(patience).count());
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, bound), &owner);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, &owner, up = std::move(up), asked, again] {
                watcher->deleteLater();
                const QDBusPendingReply<qulonglong> idle(*watcher);
                if (idle.isError() || !m_keyUp)
                    return up();
                if (asked - std::chrono::milliseconds(idle.value()) <= *m_keyUp + tolerance)
                    QTimer::singleShot(pollInterval, &owner, [this, &owner, up] { look(owner, up, true); });
                else if (again)
                    QTimer::singleShot(settling, &owner, up);
                else
                    up();
            });
}

} // namespace tavrik
