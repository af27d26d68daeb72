#include "base/PrivateFiles.h"

#include "base/PrivateSaveFile.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

constexpr auto otherPeople = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                             QFile::WriteOther | QFile::ExeOther;

FileState stateOf(const struct stat& status) {
    constexpr qint64 nanoseconds = 1'000'000'000;
    return {.device = status.st_dev,
            .number = status.st_ino,
            .size = status.st_size,
            .modified = status.st_mtim.tv_sec * nanoseconds + status.st_mtim.tv_nsec};
}

bool copyFile(const QString& from, const QString& to) {
    QFile source(from);
    if (!QFileInfo(from).isFile() || !source.open(QIODevice::ReadOnly))
        return false;
    PrivateSaveFile copy(to);
    while (!source.atEnd()) {
        const auto piece = source.read(qint64{1} << 20);
        if (piece.isEmpty())
            return false;
        copy.write(piece);
    }
    return copy.commit();
}

} // namespace

bool makePrivateFolder(const QString& path) {
    const QFileInfo folder(path);
    if (!folder.isDir()) {
        const auto parent = folder.absolutePath();
        if (!QFileInfo(parent).isDir() && (parent == path || !makePrivateFolder(parent)))
            return false;
        if (!QDir().mkdir(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
            return QFileInfo(path).isDir();
        return true;
    }
    narrowToOwner(path);
    return true;
}

void narrowToOwner(const QString& path) {
    const auto permissions = QFile::permissions(path);
    if (permissions & otherPeople)
        QFile::setPermissions(path, permissions & ~otherPeople);
}

std::optional<QByteArray> readRegularFile(const QString& path, qint64 maximum) {
    // Looked at before it is opened: opening a pipe would wait for somebody to write to it.
    const QFileInfo info(path);
    if (!info.isFile() || info.size() > maximum)
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return std::nullopt;
    auto content = file.read(info.size() + 1);
    // One that has grown meanwhile is read again in full when it has settled.
    if (file.error() != QFile::NoError || content.size() > info.size())
        return std::nullopt;
    return content;
}

std::optional<FileState> fileState(const QString& path) {
    struct stat status{};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? std::optional(stateOf(status))
                                                                     : std::nullopt;
}

std::optional<FileState> fileState(int descriptor) {
    struct stat status{};
    return ::fstat(descriptor, &status) == 0 ? std::optional(stateOf(status)) : std::nullopt;
}

bool keepAside(const QString& path, const QString& mark) {
    const QFileInfo file(QFileInfo(path).canonicalFilePath());
    if (!file.exists())
        return true;
    const auto now = QDateTime::currentDateTime().toString(u"yyyy-MM-dd HHmmss"_s);
    for (int attempt = 1; attempt < 1000; ++attempt) {
        const auto number = attempt == 1 ? QString() : u" %1"_s.arg(attempt);
        const auto name = u"%1 (%2 %3%4).%5"_s.arg(file.completeBaseName(), mark, now, number, file.suffix());
        const auto aside = file.dir().filePath(name);
        if (QFileInfo::exists(aside))
            continue;
        if (::link(QFile::encodeName(file.filePath()).constData(), QFile::encodeName(aside).constData()) == 0)
            return true;
        if (errno != EEXIST)
            return copyFile(file.filePath(), aside);
    }
    return false;
}

void pruneKeptAside(const QString& path, const QString& mark, int kept) {
    const QFileInfo file(QFileInfo(path).canonicalFilePath());
    const auto pattern = u"%1 (%2 *).%3"_s.arg(file.completeBaseName(), mark, file.suffix());
    const auto names = file.dir().entryList({pattern}, QDir::Files, QDir::Time);
    for (const auto& name : names.sliced(std::min<qsizetype>(kept, names.size())))
        QFile::remove(file.dir().filePath(name));
}

} // namespace tavrik
