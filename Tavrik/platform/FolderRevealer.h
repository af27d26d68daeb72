#pragma once

class QString;

namespace tavrik {

/// Shows a folder to the user. Main thread only.
class FolderRevealer {
public:
    FolderRevealer() = default;
    FolderRevealer(const FolderRevealer&) = delete;
    FolderRevealer& operator=(const FolderRevealer&) = delete;
    virtual ~FolderRevealer() = default;

    /// Opens a window of the file manager in which the folder is selected. Returns at once; failures are
    /// silent.
    virtual void reveal(const QString& folder) = 0;
};

} // namespace tavrik
