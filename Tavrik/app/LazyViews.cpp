#include "app/LazyViews.h"

#include "platform/PanelHost.h"

#include <QCoreApplication>
#include <QLibrary>

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

LazyViews::LazyViews(AbstractViews::Dependencies dependencies) : m_dependencies(std::move(dependencies)) {}

LazyViews::~LazyViews() = default;

ServiceStatus LazyViews::status() const {
    return {u"Qt Quick"_s, !m_failed,
            m_failed ? u"Tavrik was updated. Quit it and start it again."_s : QString()};
}

void LazyViews::setHint(const QString& hint) {
    if (m_views || (!hint.isEmpty() && loadForPanel()))
        m_views->hud().setHint(hint);
}

void LazyViews::show(std::function<float()> levelProvider, std::function<void()> onCancel,
                     std::function<void()> onConfirm) {
    if (loadForPanel())
        m_views->hud().show(std::move(levelProvider), std::move(onCancel), std::move(onConfirm));
}

void LazyViews::setProcessing() {
    if (m_views)
        m_views->hud().setProcessing();
}

void LazyViews::hide() {
    if (m_views)
        m_views->hud().hide();
}

void LazyViews::showNote(const QString& note) {
    if (m_views)
        m_views->hud().showNote(note);
}

bool LazyViews::showMainWindow(const QByteArray& activationToken) {
    if (!load())
        return false;
    m_views->showMainWindow(activationToken);
    return true;
}

bool LazyViews::loadForPanel() {
    return m_dependencies.panels.status().works && load();
}

bool LazyViews::load() {
    if (m_views)
        return true;
    QLibrary library(QCoreApplication::applicationDirPath() + u'/' + QStringLiteral(TAVRIK_VIEWS_LIBRARY));
    // Qt would unload it at exit, in the midst of cleaning up what it registered.
    library.setLoadHints(QLibrary::PreventUnloadHint);
    if (const auto makeViews = reinterpret_cast<ViewsFactory>(library.resolve("tavrikViews")))
        m_views.reset(makeViews(m_dependencies));
    if (std::exchange(m_failed, !m_views) != m_failed)
        Q_EMIT statusChanged();
    return !m_failed;
}

} // namespace tavrik
