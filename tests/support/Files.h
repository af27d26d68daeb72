#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

namespace tavrik::test {

inline QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline bool writeFile(const QString& path, const QByteArray& content) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

/// The permission bits; 0 for a file that is not there.
inline mode_t modeOf(const QString& path) {
    struct stat status{};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}

/// From now on the kernel cuts writes short as on a full disk: root can fill neither quota nor reserve
/// reliably.
inline void limitFileSizes(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limits{.rlim_cur = bytes, .rlim_max = RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &limits);
}

} // namespace tavrik::test
