#pragma once

#include "platform/SecureSlot.h"
#include "platform/linux/DetachedWorker.h"

namespace tavrik {

class MainQueue;

/// The slot in the user's keyring, over the Secret Service. A keyring that is absent reads as empty; one that
/// is locked or hung holds up nothing but this slot.
class SecretServiceSlot final : public SecureSlot {
public:
    explicit SecretServiceSlot(MainQueue& queue);

    /// Waits for what is still to be saved or removed, for a second at most.
    ~SecretServiceSlot() override;

    void read(ReadCompletion completion) override;
    void cancelRead() override;
    void save(const QByteArray& secret) override;
    void remove() override;

private:
    class Reading;

    MainQueue& m_queue;
    const bool m_hasBus;
    std::shared_ptr<Reading> m_reading;
    DetachedWorker m_worker;
};

} // namespace tavrik
