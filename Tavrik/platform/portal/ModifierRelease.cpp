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
constexpr auto settling = 180ms;
// Both times are given in whole milliseconds.
constexpr auto tolerance = 5ms;

} // namespace

ModifierRelease::ModifierRelease(const QDBusConnection& bus) : m_bus(bus) {
    const auto path = u"/org/freedesktop/portal/desktop"_s;
    const auto interface = u"org.freedesktop.portal.GlobalShortcuts"_s;
    // Of a key that goes up after a modifier nothing is told: its last repeat has to do.
    for (const auto& signal : {u"Activated"_s, u"Deactivated"_s})
        m_bus.connect({}, path, interface, signal, this, SLOT(follow(QDBusMessage)));
}

/// The shortcut's id has its modifiers, as the preferences store them: "dictate-6144-49".
void ModifierRelease::follow(const QDBusMessage& signal) {
    const auto arguments = signal.arguments();
    m_lastSignal.reset();
    if (arguments.value(1).toString().section(u'-', 1, 1).toUInt() == 0)
        return;
    const auto now = Clock::now();
    // Of the clock that all processes share; not every portal keeps to it.
    const Clock::time_point told{std::chrono::milliseconds(arguments.value(2).toLongLong())};
    m_lastSignal = told <= now && now - told < patience ? told : now;
}

void ModifierRelease::whenUp(QObject& owner, std::function<void()> up) {
    const auto asked = Clock::now();
    if (!m_lastSignal || asked - *m_lastSignal >= patience)
        return up();
    const auto monitor = u"org.gnome.Mutter.IdleMonitor"_s;
    const auto call = QDBusMessage::createMethodCall(monitor, u"/org/gnome/Mutter/IdleMonitor/Core"_s,
                                                     monitor, u"GetIdletime"_s);
    const auto bound = static_cast<int>(std::chrono::milliseconds(patience).count());
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, bound), &owner);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, &owner, up = std::move(up), asked] {
                watcher->deleteLater();
                const QDBusPendingReply<qulonglong> reply(*watcher);
                if (reply.isError() || !m_lastSignal)
                    return up();
                const std::chrono::milliseconds idle(reply.value());
                const bool isDown = asked - idle <= *m_lastSignal + tolerance;
                if (!isDown && idle >= settling)
                    return up();
                QTimer::singleShot(isDown ? pollInterval : settling - idle, &owner,
                                   [this, &owner, up] { whenUp(owner, up); });
            });
}

} // namespace tavrik
