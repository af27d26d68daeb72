#include "ui/hud/RecordingHUD.h"
#include "ui/shell/ViewEngine.h"
#include "ui/shell/Views.h"

#include <QQuickWindow>

namespace tavrik {

namespace {

class QuickViews final : public Views {
public:
    explicit QuickViews(Parts parts)
        : m_hud(parts.panels, parts.queue, m_engine), m_window(std::move(parts.window), m_engine) {}

    AbstractRecordingHUD& hud() override { return m_hud; }
    void showMainWindow() override { m_window.show(); }

private:
    ViewEngine m_engine;
    RecordingHUD m_hud;
    MainWindowController m_window;
};

} // namespace

} // namespace tavrik

extern "C" Q_DECL_EXPORT tavrik::Views* makeViews(tavrik::Views::Parts parts) {
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    return new tavrik::QuickViews(std::move(parts));
}
