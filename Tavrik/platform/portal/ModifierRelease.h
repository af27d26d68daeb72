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
    void follow(const QDBusMessage& signal);

private:
    using Clock = std::chrono::steady_clock;

    QDBusConnection m_bus;
    /// Of the last signal of a shortcut with modifiers, which were all down then, or one of them still was.
    std::optional<Clock::time_point> m_lastSignal;
};

} // namespace tavrik
