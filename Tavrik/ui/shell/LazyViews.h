#pragma once

#include "capture/AbstractRecordingHUD.h"
#include "ui/shell/Views.h"

#include <memory>

namespace tavrik {

/// Loads the views when the first of them is to be shown. An installation without their module shows none,
/// and works. Main thread only.
class LazyViews final : public AbstractRecordingHUD {
public:
    explicit LazyViews(Views::Dependencies dependencies);

    void show(std::function<float()> levelProvider, std::function<void()> onCancel,
              std::function<void()> onConfirm) override;
    void setProcessing() override;
    void hide() override;

    /// The token may be empty.
    void showMainWindow(const QByteArray& activationToken);

private:
    Views* load();

    Views::Dependencies m_dependencies;
    std::unique_ptr<Views> m_views;
};

} // namespace tavrik
