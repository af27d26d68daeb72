#pragma once

#include <QAccessible>
#include <QQuickItem>
#include <QQuickWindow>

#include <algorithm>

namespace tavrik::test {

/// A window as assistive technology meets it: objects that are showing, and what can be done with them.
class AccessibleTree {
public:
    using Found = QList<QAccessibleInterface*>;

    explicit AccessibleTree(QQuickWindow& window) : m_window(window) { QAccessible::setActive(true); }

    /// The first object of this name that shows, a control that can be used rather than anything else; null
    /// if there is none.
    QAccessibleInterface* find(const QString& name) const {
        Found found;
        collect(root(), [&](auto* object) { return object->text(QAccessible::Name) == name; }, found);
        const auto usable = std::ranges::find_if(found, &isUsable);
        return usable != found.end() ? *usable : found.value(0);
    }

    /// All that show, from top to bottom.
    Found all(QAccessible::Role role) const {
        Found found;
        collect(root(), [role](auto* object) { return object->role() == role; }, found);
        std::ranges::stable_sort(found, {}, [](auto* object) { return object->rect().top(); });
        return found;
    }

    /// The name of what the keyboard acts on.
    QString focused() const {
        auto* object = QAccessible::queryAccessibleInterface(m_window.focusObject());
        return object ? object->text(QAccessible::Name) : QString();
    }

private:
    QAccessibleInterface* root() const { return QAccessible::queryAccessibleInterface(&m_window); }

    /// A disabled control, and a text that is none, are focusable to Qt Quick.
    static bool isUsable(QAccessibleInterface* object) {
        const auto* item = qobject_cast<QQuickItem*>(object->object());
        return item && item->isEnabled() && object->state().focusable &&
               object->role() != QAccessible::StaticText && object->role() != QAccessible::Heading;
    }

    static void collect(QAccessibleInterface* object, const auto& suits, Found& found) {
        if (!object || object->state().invisible)
            return;
        if (suits(object))
            found << object;
        for (int i = 0; i < object->childCount(); ++i)
            collect(object->child(i), suits, found);
    }

    QQuickWindow& m_window;
};

} // namespace tavrik::test
