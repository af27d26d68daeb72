#include "ui/controls/PopupMenu.h"

#include <QMenu>
#include <QQuickWindow>

namespace tavrik {

using namespace Qt::StringLiterals;

namespace {

QMenu* makeMenu(QQuickItem* item, const QJSValue& entries) {
    auto* menu = new QMenu;
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto count = entries.property(u"length"_s).toUInt();
    for (quint32 i = 0; i < count; ++i) {
        const auto entry = entries.property(i);
        auto* action = menu->addAction(entry.property(u"text"_s).toString());
        action->setEnabled(entry.property(u"enabled"_s).toBool());
        // The item may be gone by then, as a row is that another page has replaced.
        QObject::connect(action, &QAction::triggered, item, [run = entry.property(u"run"_s)] { run.call(); });
    }
    return menu;
}

} // namespace

void PopupMenu::open(QQuickItem* item, const QPointF& at, const QJSValue& entries) {
    // Later, when the button that is down now has its grabber: the menu gets the release.
    const auto popUp = [item, at, entries] {
        if (!item->window())
            return;
        if (auto* grabber = item->window()->mouseGrabberItem())
            grabber->ungrabMouse();
        auto* menu = makeMenu(item, entries);
        // A compositor must know whose menu it is.
        menu->winId();
        menu->windowHandle()->setTransientParent(item->window());
        menu->popup(item->mapToGlobal(at).toPoint());
    };
    QMetaObject::invokeMethod(item, popUp, Qt::QueuedConnection);
}

} // namespace tavrik
