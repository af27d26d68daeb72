#include "platform/linux/SecretServiceConversation.h"

#include "platform/linux/SecretServiceMessages.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QDeadlineTimer>
#include <QThread>

#include <utility>

namespace tavrik {

using namespace secretservice;

SecretServiceConversation::SecretServiceConversation(const QDBusConnection& bus) : m_bus(bus) {
    registerTypes();
}

void SecretServiceConversation::call(const QDBusMessage& message, Reply reply) {
    abandonCall();
    // Without a connection Qt's own call would never end.
    const auto noBus = QDBusError(QDBusError::Disconnected, {});
    m_call = new QDBusPendingCallWatcher(
        m_bus.isConnected() ? m_bus.asyncCall(message) : QDBusPendingCall::fromError(noBus), this);
    m_reply = std::move(reply);
    connect(m_call, &QDBusPendingCallWatcher::finished, this, &SecretServiceConversation::receive);
}

void SecretServiceConversation::receive() {
    const QDBusPendingCall call = *m_call;
    const auto reply = std::exchange(m_reply, nullptr);
    abandonCall();
    reply(call);
}

void SecretServiceConversation::abandonCall() {
    if (m_call == nullptr)
        return;
    m_call->disconnect(this);
    std::exchange(m_call, nullptr)->deleteLater();
    m_reply = nullptr;
}

void SecretServiceConversation::receiveReplies(std::chrono::milliseconds limit) {
    const QDeadlineTimer deadline(limit);
    while (m_call != nullptr && !deadline.hasExpired()) {
        // Replies arrive on the thread of the bus.
        if (m_call->isFinished())
            receive();
        else
            QThread::usleep(200);
    }
}

void SecretServiceConversation::prompt(const QDBusObjectPath& path, PromptResult result) {
    m_promptPath = path.path();
    m_promptResult = std::move(result);
    m_bus.connect({}, m_promptPath, promptInterface, u"Completed"_s, this,
                  SLOT(promptCompleted(bool, QDBusVariant)));
    call(promptCall(m_promptPath), [this](const QDBusPendingCall& reply) {
        if (reply.isError())
            cancelPrompt();
    });
}

void SecretServiceConversation::promptCompleted(bool dismissed, const QDBusVariant& result) {
    endPrompt(dismissed ? std::nullopt : std::optional(result.variant()));
}

void SecretServiceConversation::endPrompt(const std::optional<QVariant>& result) {
    const auto completed = std::exchange(m_promptResult, nullptr);
    if (!completed)
        return;
    m_bus.disconnect({}, m_promptPath, promptInterface, u"Completed"_s, this,
                     SLOT(promptCompleted(bool, QDBusVariant)));
    abandonCall();
    completed(result);
}

} // namespace tavrik
