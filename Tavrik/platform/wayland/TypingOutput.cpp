#include "platform/wayland/TypingOutput.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

TypingOutput::TypingOutput(WaylandConnection& connection, const QDBusConnection& bus)
    : m_activeWindow(connection), m_bus(bus) {}

void TypingOutput::ask(std::function<void(const QString&)> answered) {
    m_activeWindow.ask([this, answered = std::move(answered)](const ActiveWindow::Answer& window) {
        if (window.output.isEmpty())
            askKWin(answered);
        else
            answered(window.output);
    });
}

void TypingOutput::askKWin(std::function<void(const QString&)> answered) {
    auto call = QDBusMessage::createMethodCall(u"org.kde.KWin"_s, u"/KWin"_s, u"org.kde.KWin"_s,
                                               u"activeOutputName"_s);
    call.setAutoStartService(false);
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, answered = std::move(answered)] {
        watcher->deleteLater();
        const QDBusPendingReply<QString> reply(*watcher);
        answered(reply.isValid() ? reply.value() : QString());
    });
}

} // namespace tavrik
