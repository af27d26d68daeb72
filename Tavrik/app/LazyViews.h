#pragma once

#include "capture/AbstractRecordingHUD.h"
#include "platform/Service.h"
#include "ui/shell/AbstractViews.h"

#include <memory>

namespace tavrik {

/// The views, whose library is loaded when the first of them is to be shown. It is that of the program's own
/// version: once the program was replaced on disk it is gone, and the status says so. Main thread only.
class LazyViews final : public Service, public AbstractRecordingHUD {
public:
    explicit LazyViews(AbstractViews::Dependencies dependencies);
    ~LazyViews() override;

    /// Of the library; works until it could not be loaded.
    ServiceStatus status() const override;

    void setHint(const QString& hint) override;
    void show(std::function<float()> levelProvider, std::function<void()> onCancel,
              std::function<void()> onConfirm) override;
    void setProcessing() override;
    void hide() override;
    void showNote(const QString& note) override;

    /// As AbstractViews does. Returns whether the window shows.
    bool showMainWindow(const QByteArray& activationToken);

private:
    bool load();
    bool loadForPanel();

    AbstractViews::Dependencies m_dependencies;
    std::unique_ptr<AbstractViews> m_views;
    bool m_failed = false;
};

} // namespace tavrik
