#pragma once

#include "capture/AbstractRecordingHUD.h"
#include "ui/shell/Views.h"

#include <memory>

namespace tavrik {

/// Loads the views when the first of them is to be shown. An installation without their module shows none,
/// and works. Main thread only.
class LazyViews final : public AbstractRecordingHUD {
public:
    explicit LazyViews(Views::Parts parts);

    void show(std::function<float()> levelProvider, std::function<void()> onCancel,
              std::function<void()> onConfirm) override;
    void setProcessing() override;
    void hide() override;

    void showMainWindow();

private:
    Views* load();

    Views::Parts m_parts;
    std::unique_ptr<Views> m_views;
};

} // namespace tavrik
