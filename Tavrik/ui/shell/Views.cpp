#include "ui/shell/Views.h"

#include "platform/PanelHost.h"
#include "ui/hud/RecordingHUD.h"
#include "ui/shell/ViewEngine.h"

#include <QQuickWindow>

#include <utility>

namespace tavrik {

struct Views::Loaded {
    explicit Loaded(const Dependencies& dependencies)
        : hud(dependencies.panels, dependencies.queue, engine), window(dependencies.window, engine) {}

    ViewEngine engine;
    RecordingHUD hud;
    MainWindowController window;
};

Views::Views(Dependencies dependencies) : m_dependencies(std::move(dependencies)) {}

Views::~Views() = default;

void Views::setHint(const QString& hint) {
    if (m_loaded || (!hint.isEmpty() && m_dependencies.panels.status().works))
        load().hud.setHint(hint);
}

void Views::show(std::function<float()> levelProvider, std::function<void()> onCancel,
                 std::function<void()> onConfirm) {
    if (m_dependencies.panels.status().works)
        load().hud.show(std::move(levelProvider), std::move(onCancel), std::move(onConfirm));
}

void Views::setProcessing() {
    if (m_loaded)
        m_loaded->hud.setProcessing();
}

void Views::hide() {
    if (m_loaded)
        m_loaded->hud.hide();
}

void Views::showNote(const QString& note) {
    if (m_loaded)
        m_loaded->hud.showNote(note);
}

void Views::showMainWindow(const QByteArray& activationToken) {
    load().window.show(activationToken);
}

Views::Loaded& Views::load() {
    if (!m_loaded) {
        // Up in milliseconds, and a fraction of the memory that OpenGL takes.
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        m_loaded = std::make_unique<Loaded>(m_dependencies);
    }
    return *m_loaded;
}

} // namespace tavrik
