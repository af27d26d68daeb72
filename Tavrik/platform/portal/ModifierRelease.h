#pragma once

#include <QDBusConnection>
#include <QObject>

#include <chrono>
#include <functional>
#include <optional>

class QDBusMessage;

namespace tavrik {

/// Tells when the modifiers of a portal's shortcut are up again, where the keyboard's state cannot be seen:
/// by the idle monitor of GNOME's compositor, which every modifier that goes up resets. Main thread only.
class ModifierRelease : public QObject {
    Q_OBJECT

public:
    /// The connection must be the one that has the shortcut's session.
    explicit ModifierRelease(const QDBusConnection& bus);

    /// No signal will tell of a release until the next press. Call it when the portal ends.
    void portalVanished();

    /// Calls `settled` once, perhaps within this call: with true as soon as the modifiers seem to be up, and
    /// a second after the last signal of the shortcut at the latest; with false if the portal vanished during
    /// a hold and they still seem to be down after a second. Not called once the owner is gone.
    void whenUp(QObject& owner, std::function<void(bool areUp)> settled);

private Q_SLOTS:
    void follow(const QDBusMessage& signal);

private:
    using Clock = std::chrono::steady_clock;

    void poll(QObject& owner, Clock::time_point start, std::function<void(bool)> settled);

    QDBusConnection m_bus;
    /// Time of the last signal of a shortcut with modifiers: at least one of them was down then.
    std::optional<Clock::time_point> m_lastSignal;
    /// Whether that signal was of a press.
    bool m_isPressed = false;
    bool m_releaseIsLost = false;
};

} // namespace tavrik
