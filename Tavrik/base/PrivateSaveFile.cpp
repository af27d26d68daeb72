#include "base/PrivateSaveFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

QFileInfo linkResolved(const QString& path) {
    const QFileInfo file(path);
    const auto target = file.canonicalFilePath();
    return target.isEmpty() ? file : QFileInfo(target);
}

void syncFolder(const QByteArray& path) {
    const int folder = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    ::fsync(folder);
    ::close(folder);
}

} // namespace

PrivateSaveFile::PrivateSaveFile(const QString& path) {
    const auto target = linkResolved(path);
    m_folder = QFile::encodeName(target.absolutePath());
    m_target = QFile::encodeName(target.absoluteFilePath());
    removeLeftovers(path);
    m_temporary = m_folder + "/." + QFile::encodeName(target.fileName()) + ".unfinished-XXXXXX";
    m_file = ::mkostemp(m_temporary.data(), O_CLOEXEC);
    // Tells a file that is being written from a leftover: the system drops the lock with the process.
    // Some disks know no locks. Should another process take the file for a leftover first, commit() fails.
    if (m_file < 0)
        m_errno = errno;
    else
        ::flock(m_file, LOCK_EX | LOCK_NB);
}

PrivateSaveFile::~PrivateSaveFile() {
    if (m_file < 0)
        return;
    ::unlink(m_temporary.constData());
    ::close(m_file);
}

void PrivateSaveFile::write(QByteArrayView bytes) {
    while (m_errno == 0 && !bytes.isEmpty()) {
        const auto written = ::write(m_file, bytes.data(), static_cast<size_t>(bytes.size()));
        if (written >= 0)
            bytes = bytes.sliced(written);
        else if (errno != EINTR)
            m_errno = errno;
    }
}

bool PrivateSaveFile::commit() {
    if (m_errno == 0 &&
        (::fsync(m_file) != 0 || ::rename(m_temporary.constData(), m_target.constData()) != 0))
        m_errno = errno;
    if (m_errno != 0)
        return false;
    m_state = fileState(m_file);
    ::close(std::exchange(m_file, -1));
    // Without this a power cut may bring the old file back. That is no reason to call it failed.
    syncFolder(m_folder);
    return true;
}

Error PrivateSaveFile::error() const {
    return {QString::fromStdString(std::generic_category().message(m_errno))};
}

void PrivateSaveFile::removeLeftovers(const QString& path) {
    const auto target = linkResolved(path);
    const auto folder = target.absoluteDir();
    const auto prefix = u".%1.unfinished-"_s.arg(target.fileName());
    for (const auto& entry : folder.entryList(QDir::Files | QDir::Hidden)) {
        if (!entry.startsWith(prefix))
            continue;
        const auto leftover = QFile::encodeName(folder.filePath(entry));
        const int file = ::open(leftover.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (file < 0)
            continue;
        if (::flock(file, LOCK_EX | LOCK_NB) == 0)
            ::unlink(leftover.constData());
        ::close(file);
    }
}

} // namespace tavrik
