#include "platform/linux/SecretServiceSlot.h"

#include "base/MainQueue.h"

#include <QDeadlineTimer>
#include <QFileInfo>

#include <chrono>
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

SecretServiceSlot::SecretServiceSlot(MainQueue& queue, QString program)
    : m_queue(queue), m_program(std::move(program)), m_hasBus(hasSessionBus()) {
    m_process.setStandardErrorFile(QProcess::nullDevice());
    QObject::connect(&m_process, &QProcess::finished, &m_process, [this] { ended(); });
    // Later, since within that signal nothing can be started.
    QObject::connect(
        &m_process, &QProcess::errorOccurred, &m_process,
        [this](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart)
                ended();
        },
        Qt::QueuedConnection);
}

SecretServiceSlot::~SecretServiceSlot() {
    cancelRead();
    const QDeadlineTimer limit(1s);
    while (m_process.state() != QProcess::NotRunning && !limit.hasExpired())
        m_process.waitForFinished(static_cast<int>(limit.remainingTime()));
    m_process.disconnect();
}

void SecretServiceSlot::read(ReadCompletion completion) {
    m_completion = std::make_shared<ReadCompletion>(std::move(completion));
    if (m_hasBus)
        add({.action = QStringLiteral("read"), .completion = m_completion});
    else
        deliver(m_completion, std::nullopt);
}

void SecretServiceSlot::cancelRead() {
    m_completion = nullptr;
    if (!m_jobs.empty())
        m_process.closeWriteChannel();
}

void SecretServiceSlot::save(const QByteArray& secret) {
    add({.action = QStringLiteral("replace"), .secret = secret});
}

void SecretServiceSlot::remove() {
    add({.action = QStringLiteral("remove")});
}

void SecretServiceSlot::add(Job job) {
    if (!m_hasBus)
        return;
    m_jobs.push_back(std::move(job));
    if (m_jobs.size() == 1)
        begin();
}

void SecretServiceSlot::begin() {
    const auto& job = m_jobs.front();
    m_process.start(m_program, {job.action});
    m_process.write(job.secret);
    // A read waits for a locked keyring until this is closed.
    if (job.completion.expired())
        m_process.closeWriteChannel();
}

void SecretServiceSlot::ended() {
    const bool done = m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
    const auto output = m_process.readAllStandardOutput();
    deliver(m_jobs.front().completion, done ? std::optional(output) : std::nullopt);
    m_jobs.pop_front();
    if (!m_jobs.empty())
        begin();
}

void SecretServiceSlot::deliver(const std::weak_ptr<ReadCompletion>& completion,
                                const std::optional<QByteArray>& secret) {
    m_queue.post([completion, secret] {
        if (const auto wanted = completion.lock())
            (*wanted)(secret);
    });
}

} // namespace tavrik
