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

    /// Calls `up` once, perhaps within this call: at once unless the modifiers seem to be down, and a second
    /// after the last sign of the shortcut at the latest. Not called once the owner is gone.
    void whenUp(QObject& owner, std::function<void()> up);

private Q_SLOTS:
    void activated(const QDBusMessage& signal);
    void deactivated(const QDBusMessage& signal);

private:
    using Clock = std::chrono::steady_clock;

    /// The last signal of a shortcut with modifiers.
    struct Signal {
        Clock::time_point time;
        /// It told that the key went up, and so that a modifier was still down. Nothing is told of a key that
        /// goes up after a modifier.
        bool isRelease;
    };

    void follow(const QDBusMessage& signal, bool isRelease);

    QDBusConnection m_bus;
    std::optional<Signal> m_lastSignal;
};

} // namespace tavrik
