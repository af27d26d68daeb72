#include "platform/linux/FileWatch.h"

#include "base/PrivateFiles.h"

#include <QFileInfo>

#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace tavrik {

FileWatch::FileWatch(const QString& path, qint64 maximumSize, std::function<void()> changed)
    : m_path(path), m_maximumSize(maximumSize), m_changed(std::move(changed)) {
    m_settled.setSingleShot(true);
    m_settled.setInterval(50ms);
    const auto wait = [this] {
        m_settled.start();
    };
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, wait);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, wait);
    connect(&m_settled, &QTimer::timeout, this, &FileWatch::look);
    addPaths();
    m_seen = readRegularFile(m_path, m_maximumSize);
}

void FileWatch::replaced(const std::optional<QByteArray>& before, const QByteArray& after) {
    addPaths();
    if (m_seen == before)
        m_seen = after;
}

void FileWatch::look() {
    addPaths();
    auto content = readRegularFile(m_path, m_maximumSize);
    if (content == m_seen)
        return;
    m_seen = std::move(content);
    m_changed();
}

// A file that was replaced is another one, and is watched anew.
void FileWatch::addPaths() {
    const QFileInfo file(m_path);
    const QFileInfo target(file.canonicalFilePath());
    for (const auto& path : {file.absolutePath(), file.absoluteFilePath(), target.absolutePath()}) {
        if (QFileInfo::exists(path))
            m_watcher.addPath(path);
    }
}

} // namespace tavrik
