#include "capture/RecordingHUD.h"
#include "views/Views.h"

#include <QQuickWindow>

namespace tavrik {

namespace {

class QuickViews final : public Views {
public:
    explicit QuickViews(Parts parts) : m_hud(parts.panels, parts.queue), m_window(std::move(parts.window)) {}

    AbstractRecordingHUD& hud() override { return m_hud; }
    void showMainWindow() override { m_window.show(); }

private:
    RecordingHUD m_hud;
    MainWindowController m_window;
};

} // namespace

} // namespace tavrik

extern "C" Q_DECL_EXPORT tavrik::Views* makeViews(tavrik::Views::Parts parts) {
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    return new tavrik::QuickViews(std::move(parts));
}
