#pragma once

#include "base/Error.h"
#include "base/PrivateFiles.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace tavrik {

/// Replaces a file whole, as QSaveFile does: the new content is written to a temporary file, synced, and
/// renamed, so that a crash or a power cut leaves either the old or the new file. A symbolic link stays; the
/// file it leads to is replaced.
///
/// Not a QSaveFile, because these files hold private texts. The new file is readable by its owner alone,
/// whatever the old one was, and a process that is killed while writing leaves nothing for good: its
/// temporary file is removed by the next replacement or by removeLeftovers(). QSaveFile's
/// "history.json.aBcDeF" could not be told from a copy that the user has made.
class PrivateSaveFile {
public:
    /// The folder must exist. Errors show at commit().
    explicit PrivateSaveFile(const QString& path);
    PrivateSaveFile(const PrivateSaveFile&) = delete;
    PrivateSaveFile& operator=(const PrivateSaveFile&) = delete;

    /// Keeps the old file, unless commit() has succeeded.
    ~PrivateSaveFile();

    /// Appends to the new content. Errors show at commit().
    void write(QByteArrayView bytes);

    /// Puts the new content in place. False after any error; the old file is then untouched.
    bool commit();

    /// Why commit() has failed.
    Error error() const;

    /// Of the new file, after a successful commit().
    std::optional<FileState> state() const { return m_state; }

    /// Removes the temporary files that killed processes have left of this file.
    static void removeLeftovers(const QString& path);

private:
    QByteArray m_folder;
    QByteArray m_target;
    QByteArray m_temporary;
    int m_file = -1;
    /// Of the first call that failed; 0 while none has.
    int m_errno = 0;
    std::optional<FileState> m_state;
};

} // namespace tavrik
