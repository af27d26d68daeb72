#include "app/LazyViews.h"

#include "platform/PanelHost.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLibrary>

#include <utility>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

/// In UTC, as a local time would change with the time zone.
QDateTime modificationTime(const QString& path) {
    return QFileInfo(path).lastModified().toUTC();
}

} // namespace

LazyViews::LazyViews(AbstractViews::Dependencies dependencies)
    : m_dependencies(std::move(dependencies)),
      m_path(QCoreApplication::applicationDirPath() + u'/' + QStringLiteral(TAVRIK_VIEWS_LIBRARY)),
      m_modified(modificationTime(m_path)) {}

LazyViews::~LazyViews() = default;

ServiceStatus LazyViews::status() const {
    return {u"Qt Quick"_s, m_failure.isEmpty(), m_failure};
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
    const auto failure = tryToLoad();
    if (std::exchange(m_failure, failure) != failure)
        Q_EMIT statusChanged();
    return m_failure.isEmpty();
}

/// Returns the reason of a failure.
QString LazyViews::tryToLoad() {
    if (modificationTime(m_path) != m_modified)
        return u"Tavrik was updated. Quit it and start it again."_s;
    QLibrary library(m_path);
    // Qt would unload it at exit, in the midst of cleaning up what it registered.
    library.setLoadHints(QLibrary::PreventUnloadHint);
    const auto makeViews = reinterpret_cast<ViewsFactory>(library.resolve("tavrikViews"));
    if (makeViews == nullptr)
        return u"Tavrik cannot show its windows. Install it again. (%1)"_s.arg(library.errorString());
    m_views.reset(makeViews(m_dependencies));
    return {};
}

} // namespace tavrik
