#include "platform/linux/SecretServiceSlot.h"

#include "base/MainQueue.h"
#include "platform/linux/KeyringItem.h"

#include <QFileInfo>

#include <mutex>
#include <utility>

using namespace std::chrono_literals;

namespace tavrik {

namespace {

/// Without a bus the library would start one, and wait for it.
bool hasSessionBus() {
    return qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS") ||
           QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

} // namespace

/// One read, which either side may outlive.
class SecretServiceSlot::Reading : public std::enable_shared_from_this<Reading> {
public:
    Reading(MainQueue& queue, ReadCompletion completion)
        : m_queue(&queue), m_completion(std::move(completion)) {}
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
    ~Reading() { g_object_unref(m_cancellable); }

    GCancellable* cancellable() const { return m_cancellable; }

    void giveUp() {
        {
            const std::scoped_lock lock(m_mutex);
            m_queue = nullptr;
        }
        g_cancellable_cancel(m_cancellable);
    }

    void deliver(const std::optional<QByteArray>& secret) {
        const std::scoped_lock lock(m_mutex);
        if (m_queue)
            m_queue->post([reading = shared_from_this(), secret] { reading->complete(secret); });
    }

private:
    void complete(const std::optional<QByteArray>& secret) {
        {
            const std::scoped_lock lock(m_mutex);
            if (!std::exchange(m_queue, nullptr))
                return;
        }
        m_completion(secret);
    }

    std::mutex m_mutex;
    /// None once the read is over.
    MainQueue* m_queue;
    const ReadCompletion m_completion;
    GCancellable* const m_cancellable = g_cancellable_new();
};

SecretServiceSlot::SecretServiceSlot(MainQueue& queue) : m_queue(queue), m_hasBus(hasSessionBus()) {}

SecretServiceSlot::~SecretServiceSlot() {
    cancelRead();
    m_worker.finish(1s);
}

void SecretServiceSlot::read(ReadCompletion completion) {
    m_reading = std::make_shared<Reading>(m_queue, std::move(completion));
    if (!m_hasBus)
        return m_reading->deliver(std::nullopt);
    m_worker.post([reading = m_reading] { reading->deliver(readKeyringItem(reading->cancellable())); });
}

void SecretServiceSlot::cancelRead() {
    if (const auto reading = std::exchange(m_reading, nullptr))
        reading->giveUp();
}

void SecretServiceSlot::save(const QByteArray& secret) {
    if (m_hasBus)
        m_worker.post([secret] { replaceKeyringItem(secret); });
}

void SecretServiceSlot::remove() {
    if (m_hasBus)
        m_worker.post([] { removeKeyringItem(); });
}

} // namespace tavrik
