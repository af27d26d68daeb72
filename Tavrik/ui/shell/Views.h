#pragma once

#include "ui/shell/MainWindow.h"

namespace tavrik {

class AbstractRecordingHUD;
class PanelHost;

/// Everything that Qt Quick draws: the recording panel and the main window. They are a module of their own,
/// since a program that nobody looks at has no use for the memory and the start-up time of that library. Main
/// thread only.
class Views {
public:
    /// Everything outlives the views.
    struct Dependencies {
        MainQueue& queue;
        PanelHost& panels;
        MainWindowController::Dependencies window;
    };

    Views() = default;
    Views(const Views&) = delete;
    Views& operator=(const Views&) = delete;
    virtual ~Views() = default;

    virtual AbstractRecordingHUD& hud() = 0;
    /// The token may be empty.
    virtual void showMainWindow(const QByteArray& activationToken) = 0;
};

/// What the module offers, under the name "makeViews". The caller owns the result.
using MakeViews = Views* (*)(Views::Dependencies);

} // namespace tavrik
