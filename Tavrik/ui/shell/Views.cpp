// What the views' library exports.

#include "ui/hud/RecordingHUD.h"
#include "ui/shell/AbstractViews.h"
#include "ui/shell/ViewEngine.h"

#include <QQuickWindow>

using namespace tavrik;

namespace {

class Views final : public AbstractViews {
public:
    explicit Views(const Dependencies& dependencies)
        : m_hud(dependencies.panels, dependencies.queue, m_engine), m_window(dependencies.window, m_engine) {}

    AbstractRecordingHUD& hud() override { return m_hud; }
    void showMainWindow(const QByteArray& activationToken) override { m_window.show(activationToken); }

private:
    ViewEngine m_engine;
    RecordingHUD m_hud;
    MainWindowController m_window;
};

} // namespace

extern "C" Q_DECL_EXPORT AbstractViews* tavrikViews(const AbstractViews::Dependencies& dependencies) {
    // Up in milliseconds, and a fraction of the memory that OpenGL takes.
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    return new Views(dependencies);
}
