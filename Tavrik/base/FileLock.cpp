#include "base/FileLock.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

namespace tavrik {

FileLock::FileLock(const QString& path, std::chrono::milliseconds patience) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + patience;
    m_file = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_NONBLOCK | O_CLOEXEC,
                    S_IRUSR | S_IWUSR);
    if (m_file < 0)
        return;
    while (::flock(m_file, LOCK_EX | LOCK_NB) != 0) {
        // Some disks know no locks: better a change that may be lost to another than none.
        if (errno != EWOULDBLOCK && errno != EINTR)
            break;
        if (Clock::now() >= deadline)
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    m_held = true;
}

FileLock::~FileLock() {
    if (m_file >= 0)
        ::close(m_file);
}

} // namespace tavrik
