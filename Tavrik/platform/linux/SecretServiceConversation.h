#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QVariant>

#include <chrono>
#include <functional>
#include <optional>

class QDBusMessage;
class QDBusObjectPath;
class QDBusPendingCall;
class QDBusPendingCallWatcher;
class QDBusVariant;

namespace tavrik {

/// What is said to the Secret Service, one thing after the other: one call at a time, or one question to the
/// user. Main thread only.
class SecretServiceConversation : public QObject {
    Q_OBJECT

public:
    using Reply = std::function<void(const QDBusPendingCall&)>;
    using PromptResult = std::function<void(const std::optional<QVariant>&)>;

    explicit SecretServiceConversation(const QDBusConnection& bus);

    /// Whether a call has no reply yet, or a question no answer.
    bool isBusy() const { return m_call != nullptr || m_promptResult != nullptr; }

    /// Abandons the call before it. Without a bus the reply is an error.
    void call(const QDBusMessage& message, Reply reply);

    /// Forgets the call without a reply.
    void abandonCall();

    /// Receives replies, and those of the calls that follow from them, until there is none to come or the
    /// time is over. Without an event loop.
    void receiveReplies(std::chrono::milliseconds limit);

    /// Has the service ask the user. The result is nothing if the user dismisses it.
    void prompt(const QDBusObjectPath& path, PromptResult result);

    /// Ends the question, if there is one, without an answer.
    void cancelPrompt() { endPrompt(std::nullopt); }

private Q_SLOTS:
    void promptCompleted(bool dismissed, const QDBusVariant& result);

private:
    void receive();
    void endPrompt(const std::optional<QVariant>& result);

    QDBusConnection m_bus;
    /// The one call without a reply; a child of this object.
    QDBusPendingCallWatcher* m_call = nullptr;
    Reply m_reply;
    QString m_promptPath;
    PromptResult m_promptResult;
};

} // namespace tavrik
