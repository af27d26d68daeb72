#pragma once

#include "capture/AbstractRecordingHUD.h"
#include "ui/hud/HUDModel.h"

#include <QTimer>

#include <memory>

class QQmlEngine;
class QQuickView;

namespace tavrik {

class MainQueue;
class PanelHost;

/// The panel at the bottom of the screen. It is made at the first `show` and kept. Main thread only.
class RecordingHUD : public AbstractRecordingHUD {
public:
    /// Everything outlives the panel.
    RecordingHUD(PanelHost& host, MainQueue& queue, QQmlEngine& engine);
    ~RecordingHUD() override;

    void setHint(const QString& hint) override;
    void show(std::function<float()> levelProvider, std::function<void()> onCancel,
              std::function<void()> onConfirm) override;
    void setProcessing() override;
    void hide() override;
    void showNote(const QString& note) override;

private:
    void makePanel();
    void presentPanel();
    std::function<void()> posted(std::function<void()> action);

    PanelHost& m_host;
    MainQueue& m_queue;
    QQmlEngine& m_engine;
    HUDModel m_model;
    std::unique_ptr<QQuickView> m_panel;
    std::function<float()> m_levelProvider;
    QTimer m_levelTimer;
    QTimer m_hiding;
};

} // namespace tavrik
