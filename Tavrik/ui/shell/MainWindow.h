#pragma once

#include "ui/settings/SettingsModel.h"

#include <functional>
#include <memory>

class QQmlEngine;
class QWindow;

namespace tavrik {

class AuthStore;
class Clipboard;
class DayWatcher;
class HistoryStore;
class LinkOpener;
class MainQueue;
class WindowActivator;

/// The program's one ordinary window. Made at the first show() and kept; while it is closed it is only
/// hidden. Main thread only.
class MainWindowController {
public:
    /// Everything outlives the controller.
    struct Dependencies {
        MainQueue& queue;
        AuthStore& account;
        /// Opens the history, or gives the one that is open.
        std::function<HistoryStore&()> history;
        Clipboard& clipboard;
        DayWatcher& days;
        LinkOpener& links;
        WindowActivator& activator;
        SettingsModel::Dependencies settings;
        /// Of the computer's user; asked for once, since a network may have to be asked.
        std::function<QString()> fullUserName;
    };

    /// `engine` outlives the controller too.
    MainWindowController(Dependencies dependencies, QQmlEngine& engine);
    ~MainWindowController();

    /// Brings the window to the front, and the keyboard focus to it. The token may be empty.
    void show(const QByteArray& activationToken);

    /// The window, once it was shown; null before.
    QWindow* window() const;

private:
    struct Content;

    Dependencies m_dependencies;
    QQmlEngine& m_engine;
    std::unique_ptr<Content> m_content;
};

} // namespace tavrik
