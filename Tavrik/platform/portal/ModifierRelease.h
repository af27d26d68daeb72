#pragma once

#include <QDBusConnection>
#include <QObject>

#include <chrono>
#include <functional>
#include <optional>

class QDBusMessage;

namespace tavrik {

/// Tells when the modifiers of a portal's shortcut are up again, where the keyboard's state cannot be seen: a
/// shortcut whose key went up tells that its modifiers were still down, and each of them is one more sign of
/// activity for the idle monitor that GNOME's compositor has. Main thread only.
class ModifierRelease : public QObject {
    Q_OBJECT

public:
    /// The connection must be the one that has the shortcut's session.
    explicit ModifierRelease(const QDBusConnection& bus);

    /// Calls `up` once, perhaps within this call: at once unless the modifiers seem to be down, and a second
    /// after the key went up at the latest. Not called once the owner is gone.
    void whenUp(QObject& owner, std::function<void()> up);

private Q_SLOTS:
    void deactivated(const QDBusMessage& signal);

private:
    using Clock = std::chrono::steady_clock;

    void look(QObject& owner, std::function<void()> up, bool again);

    QDBusConnection m_bus;
    /// When the key of a shortcut with modifiers was last told to have gone up.
    std::optional<Clock::time_point> m_keyUp;
};

} // namespace tavrik
