#pragma once

#include <QString>

#include <functional>

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
    /// What a shell calls the program.
    QString command;
    /// Which keys the signs of a shortcut ("⌥ Space") mean: "Alt + Space on this keyboard". Empty where the
    /// keys bear the signs.
    std::function<QString(const QString& shortcut)> shortcutNote = [](const QString&) {
        return QString();
    };
};

} // namespace tavrik
