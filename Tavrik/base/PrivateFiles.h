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

/// Gives a file that is about to be replaced a second name in its folder, one that nothing has yet:
/// "history.json" becomes also "history (unreadable 2026-11-21 143005).json". Where the folder allows no
/// second name, makes a copy. True when the content is safe, or when there is no file.
bool keepAside(const QString& path);

} // namespace tavrik
