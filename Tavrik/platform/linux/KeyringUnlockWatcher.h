#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QTimer>

#include <chrono>

namespace tavrik {

/// Says when to look whether a locked keyring has been unlocked. Main thread only.
class KeyringUnlockWatcher : public QObject {
    Q_OBJECT

public:
    explicit KeyringUnlockWatcher(const QDBusConnection& bus);

    /// Whether lookAgain() is to come.
    bool isWaiting() const { return m_timer.isActive(); }

    /// Listens to the keyring's signals from now on. wait() does so, too.
    void listen() { setListening(true); }

    /// Emits lookAgain() once: as soon as the keyring has changed, or else after a pause. The pauses grow
    /// from one call to the next, until the keyring changes.
    void wait();

    /// Ends waiting and listening.
    void stop();

    /// Makes the next pause the shortest again.
    void resetPause();

public Q_SLOTS:
    void keyringChanged();

Q_SIGNALS:
    void lookAgain();

private:
    void setListening(bool listening);

    QDBusConnection m_bus;
    bool m_isListening = false;
    QTimer m_timer;
    std::chrono::milliseconds m_pause;
};

} // namespace tavrik
