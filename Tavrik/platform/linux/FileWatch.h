#pragma once

#include <QByteArray>
#include <QFileSystemWatcher>
#include <QTimer>

#include <functional>
#include <optional>

namespace tavrik {

/// Tells when the content of one small file has changed, whether it was written in place, replaced, made or
/// removed. Its folder must exist. Costs nothing while nothing happens. Main thread only.
class FileWatch : public QObject {
    Q_OBJECT

public:
    /// Calls `changed` soon after the change, once for several that follow each other closely.
    FileWatch(const QString& path, qint64 maximumSize, std::function<void()> changed);

    /// The file's user has replaced its content: no change to tell of. A change from outside that came before
    /// is still told.
    void replaced(const std::optional<QByteArray>& before, const QByteArray& after);

private:
    void look();
    void addPaths();

    const QString m_path;
    const qint64 m_maximumSize;
    const std::function<void()> m_changed;
    std::optional<QByteArray> m_seen;
    QFileSystemWatcher m_watcher;
    QTimer m_settled;
};

} // namespace tavrik
