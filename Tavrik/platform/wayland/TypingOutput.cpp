#include "platform/wayland/TypingOutput.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

TypingOutput::TypingOutput(WaylandConnection& connection, const QDBusConnection& bus)
    : m_connection(connection), m_activeWindow(connection), m_bus(bus) {}

void TypingOutput::ask(std::function<void(const QString&)> answered) {
    // KWin lists windows too, but without their outputs.
    if (m_connection.version("zwlr_foreign_toplevel_manager_v1") == 0)
        return askKWin(std::move(answered));
    m_activeWindow.ask(
        [answered = std::move(answered)](const ActiveWindow::Answer& window) { answered(window.output); });
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
