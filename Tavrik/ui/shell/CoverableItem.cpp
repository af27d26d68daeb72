#include "ui/shell/CoverableItem.h"

#include <QAccessibleObject>
#include <QQuickWindow>

namespace tavrik {

using namespace Qt::StringLiterals;

namespace {

using Interfaces = QList<QAccessibleInterface*>;

/// Items without an interface are passed over, and stand open to their children.
void collect(const QQuickItem& item, Interfaces& found) {
    for (auto* child : item.childItems()) {
        if (auto* interface = QAccessible::queryAccessibleInterface(child))
            found << interface;
        else
            collect(*child, found);
    }
}

Interfaces accessibleChildren(const QQuickItem& item) {
    Interfaces found;
    collect(item, found);
    return found;
}

/// Like Qt Quick's own for any item, but for the children.
class CoverableInterface final : public QAccessibleObject {
public:
    using QAccessibleObject::QAccessibleObject;

    QAccessibleInterface* parent() const override {
        for (auto* ancestor = item().parentItem(); ancestor; ancestor = ancestor->parentItem())
            if (auto* interface = QAccessible::queryAccessibleInterface(ancestor))
                return interface;
        return QAccessible::queryAccessibleInterface(item().window());
    }
    int childCount() const override { return static_cast<int>(children().size()); }
    QAccessibleInterface* child(int index) const override { return children().value(index); }
    int indexOfChild(const QAccessibleInterface* child) const override {
        return static_cast<int>(children().indexOf(child));
    }
    QAccessible::Role role() const override { return QAccessible::Grouping; }
    QString text(QAccessible::Text) const override { return {}; }
    QRect rect() const override {
        const auto scene = item().mapRectToScene(item().boundingRect()).toRect();
        return item().window() ? scene.translated(item().window()->mapToGlobal(QPoint())) : scene;
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        state.invisible = !item().isVisible();
        state.disabled = !item().isEnabled();
        return state;
    }

private:
    CoverableItem& item() const { return static_cast<CoverableItem&>(*object()); }
    Interfaces children() const { return item().isCovered() ? Interfaces() : accessibleChildren(item()); }
};

QAccessibleInterface* makeInterface(const QString& className, QObject* object) {
    return className == "tavrik::CoverableItem"_L1 && object ? new CoverableInterface(object) : nullptr;
}

} // namespace

CoverableItem::CoverableItem(QQuickItem* parent) : QQuickItem(parent) {
    // Once, however often it is asked to.
    QAccessible::installFactory(&makeInterface);
}

void CoverableItem::setCovered(bool covered) {
    if (covered == m_covered)
        return;
    // Those who keep a copy of the tree are told while the children are in it.
    const auto tell = [this](QAccessible::Event what) {
        if (!QAccessible::isActive())
            return;
        for (auto* child : accessibleChildren(*this)) {
            QAccessibleEvent event(child->object(), what);
            QAccessible::updateAccessibility(&event);
        }
    };
    if (covered)
        tell(QAccessible::ObjectDestroyed);
    m_covered = covered;
    if (!covered)
        tell(QAccessible::ObjectCreated);
    Q_EMIT coveredChanged();
}

} // namespace tavrik
