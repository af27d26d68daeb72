#pragma once

#include "platform/wayland/ActiveWindow.h"

#include <QDBusConnection>

#include <functional>

namespace tavrik {

/// Finds out on which output the user types, where the compositor tells: wlroots' ones by their list of
/// windows, KWin over the bus. Main thread only.
class TypingOutput : public QObject {
    Q_OBJECT

public:
    TypingOutput(WaylandConnection& connection, const QDBusConnection& bus);

    /// `answered` gets the output's name, as "DP-1"; empty if that cannot be told. Called once, perhaps
    /// within this call; not after this is destroyed.
    void ask(std::function<void(const QString& name)> answered);

private:
    void askKWin(std::function<void(const QString& name)> answered);

    WaylandConnection& m_connection;
    ActiveWindow m_activeWindow;
    QDBusConnection m_bus;
};

} // namespace tavrik
