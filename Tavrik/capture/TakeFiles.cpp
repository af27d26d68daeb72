#include "capture/TakeFiles.h"

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
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

} // namespace

QString newTakePath(const QString& folder) {
    return folder + u"/tavrik-"_s + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + u".wav"_s;
}

void removeLeftoverTakes(const QString& folder) {
    static const QRegularExpression takeName(
        QRegularExpression::anchoredPattern(u"tavrik-[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\.wav"_s));
    for (QDirIterator entries(folder, {u"tavrik-*.wav"_s}, QDir::Files | QDir::System); entries.hasNext();) {
        const auto path = QFile::encodeName(entries.next());
        if (!takeName.match(entries.fileName()).hasMatch())
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
