#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <vector>

class QDBusMessage;

namespace tavrik {

class PortalConnection;

/// Closes sessions that all have the same token, so that there can be only one at a time. Main thread only.
class PortalSessions final : public QObject {
    Q_OBJECT

public:
    /// The connection must outlive this.
    explicit PortalSessions(PortalConnection& portal);

    /// Calls `ready` when no session is being closed, perhaps at once; not at all once the owner is gone.
    void whenNoneCloses(QObject& owner, std::function<void()> ready);

    void close(const QString& path);

    /// Closes the session where the portal's work is done: the portal itself has ended, and left it open.
    void closeOrphan(const QString& path);

private:
    void await(const QDBusMessage& call, const std::function<void(const QDBusMessage&)>& answered = {});

    PortalConnection& m_portal;
    /// Calls under way that close a session.
    int m_closing = 0;
    /// Called, and forgotten, when none is.
    std::vector<std::function<void()>> m_waiting;
};

} // namespace tavrik
