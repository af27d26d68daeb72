#pragma once

#include <QString>

namespace tavrik {

/// Sentences of the window that name parts of the desktop.
struct PlatformTexts {
    /// Which microphone is used, and where that is chosen.
    QString microphone;
    /// What signing out does.
    QString signOut;
    /// Where the history is.
    QString dataFolder;
    /// On the button that shows the folder.
    QString revealFolder;
};

} // namespace tavrik
