#pragma once

#include "capture/AbstractRecordingHUD.h"
#include "platform/Service.h"
#include "ui/shell/AbstractViews.h"

#include <QDateTime>
#include <QString>

#include <memory>

namespace tavrik {

/// The views, whose library is loaded when the first of them is to be shown. A library that was replaced or
/// removed since the program started is not loaded, as it would not fit the rest. Main thread only.
class LazyViews final : public Service, public AbstractRecordingHUD {
public:
    explicit LazyViews(AbstractViews::Dependencies dependencies);
    ~LazyViews() override;

    /// Works until the library could not be loaded; the reason then says why.
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
    QString tryToLoad();
    bool loadForPanel();

    AbstractViews::Dependencies m_dependencies;
    const QString m_path;
    /// When the program started; invalid if there was no such file.
    const QDateTime m_modified;
    std::unique_ptr<AbstractViews> m_views;
    QString m_failure;
};

} // namespace tavrik
