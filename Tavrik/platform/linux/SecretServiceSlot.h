#pragma once

#include "platform/SecureSlot.h"
#include "platform/linux/KeyringUnlockWatcher.h"
#include "platform/linux/SecretServiceConversation.h"
#include "platform/linux/SecretServiceMessages.h"

#include <QDBusConnection>
#include <QDBusPendingReply>

#include <deque>
#include <functional>
#include <memory>
#include <optional>

class QDBusError;

namespace tavrik {

class MainQueue;

/// The slot in the user's keyring, over the Secret Service. A keyring that is absent or answers with errors
/// reads as empty; one that is locked or hung holds up nothing but this slot.
class SecretServiceSlot final : public SecureSlot {
    Q_OBJECT

public:
    /// `removalMark` is the path of a file that exists from remove() until the item has been seen to be
    /// deleted or replaced. While it exists, reads deliver nothing.
    SecretServiceSlot(MainQueue& queue, QString removalMark, const QDBusConnection& bus);

    /// Waits for what is being saved or removed, for a second at most, without running an event loop. Does
    /// not wait for a locked keyring.
    ~SecretServiceSlot() override;

    /// Blocks for a moment if nothing has been read or written yet: asks the bus whether there is a service.
    ServiceStatus status() const override;

    void read(ReadCompletion completion) override;
    void cancelRead() override;
    void save(const QByteArray& secret) override;

    /// Cancels a read, too.
    void remove() override;

private Q_SLOTS:
    void serviceOwnerChanged(const QString& name, const QString& before, const QString& now);

private:
    enum class Action { read, save, remove };
    enum class Health { unknown, works, locked, absent, silent, failing };

    struct Request {
        Action action;
        QByteArray secret = {};
    };

    using Items = secretservice::Items;
    /// The path of what was created, or that of a prompt that has to be shown first.
    using Creation = QDBusPendingReply<QDBusObjectPath, QDBusObjectPath>;

    void enqueueWrite(Request request);
    void startNext();
    void perform();
    void finish();
    void giveUp();
    void deliver(const std::optional<QByteArray>& secret);

    /// Updates the status. False if there is no error.
    bool failed(const QDBusError& error);
    void setHealth(Health health);

    void openSession();
    void search(std::function<void(const Items& unlocked, const Items& locked)> found);
    void readItem();
    void readSecret(const QDBusObjectPath& item);
    void removeItems();
    void removeItem(const QDBusObjectPath& item, const std::function<void()>& removed);
    void saveItem();
    void createCollection();
    void createItem(const QDBusObjectPath& collection);
    void finishCreation(const Creation& reply, const std::function<void(const QDBusObjectPath&)>& created);
    void itemSaved(const QDBusObjectPath& item);
    void removeOthers(const QDBusObjectPath& saved);

    void nothingFound();
    void lookForLocked(Items collections);
    void unlock(const QDBusObjectPath& object);
    void waitForUnlock();

    void setRemovalMark();
    void liftRemovalMark();

    MainQueue& m_queue;
    const QString m_removalMark;
    QDBusConnection m_bus;
    SecretServiceConversation m_service;
    KeyringUnlockWatcher m_unlockWatcher;

    std::shared_ptr<ReadCompletion> m_completion;
    /// The first one is under way.
    std::deque<Request> m_requests;
    QString m_session;
    /// What the present request has deleted.
    Items m_deleted;

    bool m_askedToUnlock = false;
    Health m_health = Health::unknown;
};

} // namespace tavrik
