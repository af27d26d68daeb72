#include "ui/hud/RecordingHUD.h"
#include "ui/shell/ViewEngine.h"
#include "ui/shell/Views.h"

#include <QQuickWindow>

namespace tavrik {

namespace {

class QuickViews final : public Views {
public:
    explicit QuickViews(Dependencies dependencies)
        : m_hud(dependencies.panels, dependencies.queue, m_engine),
          m_window(std::move(dependencies.window), m_engine) {}

    AbstractRecordingHUD& hud() override { return m_hud; }
    void showMainWindow(const QByteArray& activationToken) override { m_window.show(activationToken); }

private:
    ViewEngine m_engine;
    RecordingHUD m_hud;
    MainWindowController m_window;
};

} // namespace

} // namespace tavrik

extern "C" Q_DECL_EXPORT tavrik::Views* makeViews(tavrik::Views::Dependencies dependencies) {
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    return new tavrik::QuickViews(std::move(dependencies));
}
