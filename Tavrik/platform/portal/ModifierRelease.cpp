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
// Between the releases of two modifiers, when a hand leaves the keyboard.
constexpr auto settling = 180ms;
// Signals and idle times come in whole milliseconds.
constexpr auto tolerance = 5ms;

} // namespace

ModifierRelease::ModifierRelease(const QDBusConnection& bus) : m_bus(bus) {
    const auto path = u"/org/freedesktop/portal/desktop"_s;
    const auto interface = u"org.freedesktop.portal.GlobalShortcuts"_s;
    // No signal tells of a key that goes up after a modifier: its last repeat has to do.
    for (const auto& signal : {u"Activated"_s, u"Deactivated"_s})
        m_bus.connect({}, path, interface, signal, this, SLOT(follow(QDBusMessage)));
}

/// The shortcut's id has its modifiers, as the preferences store them: "dictate-6144-49".
void ModifierRelease::follow(const QDBusMessage& signal) {
    const auto arguments = signal.arguments();
    m_lastSignal.reset();
    m_releaseIsLost = false;
    if (arguments.value(1).toString().section(u'-', 1, 1).toUInt() == 0)
        return;
    const auto now = Clock::now();
    // By the clock that all processes share; not every portal uses it.
    const Clock::time_point sent{std::chrono::milliseconds(arguments.value(2).toLongLong())};
    m_lastSignal = sent <= now && now - sent < patience ? sent : now;
    m_isPressed = signal.member() == u"Activated"_s;
}

void ModifierRelease::portalVanished() {
    m_releaseIsLost = m_lastSignal && m_isPressed;
}

void ModifierRelease::whenUp(QObject& owner, std::function<void(bool)> settled) {
    poll(owner, Clock::now(), std::move(settled));
}

void ModifierRelease::poll(QObject& owner, Clock::time_point start, std::function<void(bool)> settled) {
    const auto asked = Clock::now();
    if (!m_lastSignal || asked - (m_releaseIsLost ? start : *m_lastSignal) >= patience)
        return settled(!m_releaseIsLost);
    const auto monitor = u"org.gnome.Mutter.IdleMonitor"_s;
    const auto call = QDBusMessage::createMethodCall(monitor, u"/org/gnome/Mutter/IdleMonitor/Core"_s,
                                                     monitor, u"GetIdletime"_s);
    const auto bound = static_cast<int>(std::chrono::milliseconds(patience).count());
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, bound), &owner);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, &owner, start, settled = std::move(settled), asked] {
                watcher->deleteLater();
                const QDBusPendingReply<qulonglong> reply(*watcher);
                if (reply.isError() || !m_lastSignal)
                    return settled(true);
                const std::chrono::milliseconds idle(reply.value());
                const bool isDown = asked - idle <= *m_lastSignal + tolerance;
                if (!isDown && idle >= settling)
                    return settled(true);
                QTimer::singleShot(isDown ? pollInterval : settling - idle, &owner,
                                   [this, &owner, start, settled] { poll(owner, start, settled); });
            });
}

} // namespace tavrik
