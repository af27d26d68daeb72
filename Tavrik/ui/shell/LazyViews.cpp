#include "ui/shell/LazyViews.h"

#include "platform/PanelHost.h"

#include <QCoreApplication>
#include <QLibrary>

namespace tavrik {

LazyViews::LazyViews(Views::Dependencies dependencies) : m_dependencies(std::move(dependencies)) {}

void LazyViews::show(std::function<float()> levelProvider, std::function<void()> onCancel,
                     std::function<void()> onConfirm) {
    if (!m_dependencies.panels.status().works)
        return;
    if (auto* views = load())
        views->hud().show(std::move(levelProvider), std::move(onCancel), std::move(onConfirm));
}

void LazyViews::setProcessing() {
    if (m_views)
        m_views->hud().setProcessing();
}

void LazyViews::hide() {
    if (m_views)
        m_views->hud().hide();
}

void LazyViews::showMainWindow(const QByteArray& activationToken) {
    if (auto* views = load())
        views->showMainWindow(activationToken);
}

Views* LazyViews::load() {
    if (!m_views) {
        QLibrary module(QCoreApplication::applicationDirPath() + QStringLiteral("/" TAVRIK_VIEWS_MODULE));
        if (const auto make = reinterpret_cast<MakeViews>(module.resolve("makeViews")))
            m_views.reset(make(m_dependencies));
    }
    return m_views.get();
}

} // namespace tavrik
