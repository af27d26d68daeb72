#pragma once

#include "ui/shell/MainWindow.h"

namespace tavrik {

class AbstractRecordingHUD;
class PanelHost;

/// The recording panel and the main window, which are in a library of their own. Main thread only.
class AbstractViews {
public:
    /// Everything outlives the views.
    struct Dependencies {
        MainQueue& queue;
        PanelHost& panels;
        MainWindowController::Dependencies window;
    };

    AbstractViews() = default;
    AbstractViews(const AbstractViews&) = delete;
    AbstractViews& operator=(const AbstractViews&) = delete;
    virtual ~AbstractViews() = default;

    virtual AbstractRecordingHUD& hud() = 0;

    /// Brings the main window to the front, and the keyboard focus to it. The token may be empty.
    virtual void showMainWindow(const QByteArray& activationToken) = 0;
};

/// What that library exports as "tavrikViews". The caller owns the result.
using ViewsFactory = AbstractViews* (*)(const AbstractViews::Dependencies&);

} // namespace tavrik
