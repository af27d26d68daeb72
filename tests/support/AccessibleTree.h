#pragma once

#include <QAccessible>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

namespace tavrik::test {

/// A window as assistive technology meets it: named objects that are showing, and what can be done with them.
class AccessibleTree {
public:
    explicit AccessibleTree(QQuickWindow& window) : m_window(window) { QAccessible::setActive(true); }

    /// The first object of this name that shows, a control that can be used rather than anything else; null
    /// if there is none.
    QAccessibleInterface* find(const QString& name) const {
        auto* root = QAccessible::queryAccessibleInterface(&m_window);
        auto* control = find(root, name, &isUsable);
        return control ? control : find(root, name, [](QAccessibleInterface*) { return true; });
    }
    bool shows(const QString& name) const { return find(name) != nullptr; }

    bool isChecked(const QString& name) const {
        const auto* object = find(name);
        return object && object->state().checked;
    }
    bool isEnabled(const QString& name) const {
        auto* object = find(name);
        return object && isUsable(object);
    }

    /// The name of what the keyboard acts on.
    QString focused() const {
        auto* object = QAccessible::queryAccessibleInterface(m_window.focusObject());
        return object ? object->text(QAccessible::Name) : QString();
    }

    /// Where the object is, in the window.
    QPoint middle(const QString& name) const {
        // Lays everything out.
        m_window.grabWindow();
        const auto* object = find(name);
        return object ? m_window.mapFromGlobal(object->rect().center()) : QPoint();
    }

    /// Clicks a control, once it can be used.
    void click(const QString& name) const {
        QVERIFY2(QTest::qWaitFor([&] { return isEnabled(name); }), qPrintable(name));
        QTest::mouseClick(&m_window, Qt::LeftButton, {}, middle(name));
    }

    /// What a screen reader does in place of a click.
    void press(const QString& name) const {
        QVERIFY2(shows(name), qPrintable(name));
        find(name)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    }

private:
    /// A disabled control, and a text that is none, are focusable to Qt Quick.
    static bool isUsable(QAccessibleInterface* object) {
        const auto* item = qobject_cast<QQuickItem*>(object->object());
        return item && item->isEnabled() && object->state().focusable &&
               object->role() != QAccessible::StaticText && object->role() != QAccessible::Heading;
    }

    static QAccessibleInterface* find(QAccessibleInterface* object, const QString& name, auto suits) {
        if (!object || object->state().invisible)
            return nullptr;
        if (object->text(QAccessible::Name) == name && suits(object))
            return object;
        for (int i = 0; i < object->childCount(); ++i) {
            if (auto* found = find(object->child(i), name, suits))
                return found;
        }
        return nullptr;
    }

    QQuickWindow& m_window;
};

} // namespace tavrik::test
