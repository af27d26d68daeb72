#include "capture/TakeFiles.h"

#include <QDirIterator>
#include <QFile>
#include <QUuid>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

/// Of an open file.
bool isLeftover(int file) {
    struct stat status{};
    return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid() &&
           ::flock(file, LOCK_EX | LOCK_NB) == 0;
}

QString takeName(const QUuid& id) {
    return u"tavrik-"_s + id.toString(QUuid::WithoutBraces).toUpper() + u".wav"_s;
}

bool isTakeName(const QString& name) {
    return name == takeName(QUuid::fromString(QString(name).remove(u"tavrik-"_s).remove(u".wav"_s)));
}

} // namespace

QString newTakePath(const QString& folder) {
    return folder + u'/' + takeName(QUuid::createUuid());
}

void removeLeftoverTakes(const QString& folder) {
    for (QDirIterator entries(folder, QDir::Files | QDir::System); entries.hasNext();) {
        const auto path = QFile::encodeName(entries.next());
        if (!isTakeName(entries.fileName()))
            continue;
        // A link is not followed, and a pipe does not hold this up.
        const int file = ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (file < 0)
            continue;
        if (isLeftover(file))
            ::unlink(path.constData());
        ::close(file);
    }
}

} // namespace tavrik
