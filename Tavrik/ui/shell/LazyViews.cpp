#include "ui/shell/LazyViews.h"

#include <QCoreApplication>
#include <QLibrary>

namespace tavrik {

LazyViews::LazyViews(Views::Parts parts) : m_parts(std::move(parts)) {}

void LazyViews::show(std::function<float()> levelProvider, std::function<void()> onCancel,
                     std::function<void()> onConfirm) {
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

void LazyViews::showMainWindow() {
    if (auto* views = load())
        views->showMainWindow();
}

Views* LazyViews::load() {
    if (!m_views) {
        QLibrary module(QCoreApplication::applicationDirPath() + QStringLiteral("/" TAVRIK_VIEWS_MODULE));
        if (const auto make = reinterpret_cast<MakeViews>(module.resolve("makeViews")))
            m_views.reset(make(m_parts));
    }
    return m_views.get();
}

} // namespace tavrik
