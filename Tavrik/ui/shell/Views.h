#pragma once

#include "capture/AbstractRecordingHUD.h"
#include "ui/shell/MainWindow.h"

#include <memory>

namespace tavrik {

class PanelHost;

/// The recording panel and the main window. The QML engine they share is made when the first of them is to be
/// shown: a program that nobody looks at has no use for its memory. Main thread only.
class Views final : public AbstractRecordingHUD {
public:
    /// Everything outlives the views.
    struct Dependencies {
        MainQueue& queue;
        PanelHost& panels;
        MainWindowController::Dependencies window;
    };

    explicit Views(Dependencies dependencies);
    ~Views() override;

    void setHint(const QString& hint) override;
    void show(std::function<float()> levelProvider, std::function<void()> onCancel,
              std::function<void()> onConfirm) override;
    void setProcessing() override;
    void hide() override;
    void showNote(const QString& note) override;

    /// Brings the main window to the front, and the keyboard focus to it. The token may be empty.
    void showMainWindow(const QByteArray& activationToken);

private:
    struct Loaded;

    Loaded& load();

    Dependencies m_dependencies;
    std::unique_ptr<Loaded> m_loaded;
};

} // namespace tavrik
