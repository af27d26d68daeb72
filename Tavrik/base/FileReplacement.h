#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace tavrik {

/// Replaces a file whole. The new content is written beside the old, synced, and takes its name in one step:
/// whenever the program is killed or the power lost, one of the two whole states is there. Nobody but the
/// user can read the new file. A symbolic link stays; the file it leads to is replaced. What a killed
/// replacement of the same file left behind is removed by the next, or by removeLeftovers().
class FileReplacement {
public:
    /// The folder must exist. A failure shows at commit().
    explicit FileReplacement(const QString& path);
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    /// Leaves the old file as it was, unless commit() has succeeded.
    ~FileReplacement();

    /// Appends to the new content. A failure shows at commit().
    void write(QByteArrayView bytes);

    /// Puts the new content in place. False when that, or anything before, has failed: the old file is
    /// untouched.
    bool commit();

    /// Removes what killed replacements of this file have left in its folder.
    static void removeLeftovers(const QString& path);

private:
    QByteArray m_folder;
    QByteArray m_target;
    QByteArray m_temporary;
    int m_file = -1;
    bool m_good = false;
};

} // namespace tavrik
