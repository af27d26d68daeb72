#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Files and folders that nobody but the user may look into.
namespace tavrik {

/// Makes the folder with whatever is missing above it, readable by the user alone; an existing folder's wider
/// permissions are narrowed. False when there is no such folder afterwards.
bool makePrivateFolder(const QString& path);

/// Takes an existing file away from everybody but its owner.
void narrowToOwner(const QString& path);

/// The whole content of a regular file. Nothing when it is missing, larger than `maximum` bytes, cannot be
/// read, or is something else (a folder, a pipe).
std::optional<QByteArray> readRegularFile(const QString& path, qint64 maximum);

/// Tells one state of a file from any other: its place on the disk, its size, and when it was last written.
struct FileState {
    quint64 device = 0;
    quint64 number = 0;
    qint64 size = 0;
    qint64 modified = 0; // nanoseconds

    bool operator==(const FileState&) const = default;
};

/// Of the file that the path leads to; nothing when there is none.
std::optional<FileState> fileState(const QString& path);

/// Of an open file.
std::optional<FileState> fileState(int descriptor);

/// Gives a file that is about to be replaced a second name in its folder, one that nothing has yet: with the
/// mark "unreadable" "history.json" becomes also "history (unreadable 2026-11-21 143005).json". Where the
/// folder allows no second name, makes a copy. True when the content is safe, or when there is no file.
bool keepAside(const QString& path, const QString& mark);

/// Deletes all but the newest of what keepAside() has kept under that mark.
void pruneKeptAside(const QString& path, const QString& mark, int kept);

} // namespace tavrik
