#pragma once

#include <QString>

#include <chrono>

namespace tavrik {

/// One process at a time, by a lock on a file that stays, empty, when the lock is gone. The system lets go of
/// it when its holder dies.
class FileLock {
public:
    /// Waits for the lock, but no longer than `patience`.
    FileLock(const QString& path, std::chrono::milliseconds patience);
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

    bool isHeld() const { return m_held; }

private:
    int m_file = -1;
    bool m_held = false;
};

} // namespace tavrik
