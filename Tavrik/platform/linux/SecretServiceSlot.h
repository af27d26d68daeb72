#pragma once

#include "platform/SecureSlot.h"

#include <QProcess>

#include <deque>
#include <memory>

namespace tavrik {

class MainQueue;

/// The slot in the user's keyring, over the Secret Service. A keyring that is absent reads as empty; one that
/// is locked or hung holds up nothing but this slot. One short-lived process after the other does the work.
class SecretServiceSlot final : public SecureSlot {
public:
    /// `program` is the path of tavrik-keyring.
    SecretServiceSlot(MainQueue& queue, QString program);

    /// Waits for what is still to be saved or removed, for a second at most.
    ~SecretServiceSlot() override;

    void read(ReadCompletion completion) override;
    void cancelRead() override;
    void save(const QByteArray& secret) override;
    void remove() override;

private:
    struct Job {
        QString action;
        QByteArray secret = {};
        /// Of a read; gone once that has been given up.
        std::weak_ptr<ReadCompletion> completion = {};
    };

    void add(Job job);
    void begin();
    void ended();
    void deliver(const std::weak_ptr<ReadCompletion>& completion, const std::optional<QByteArray>& secret);

    MainQueue& m_queue;
    const QString m_program;
    const bool m_hasBus;
    std::shared_ptr<ReadCompletion> m_completion;
    /// The first one is under way.
    std::deque<Job> m_jobs;
    QProcess m_process;
};

} // namespace tavrik
