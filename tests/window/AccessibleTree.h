#pragma once

#include <QAccessible>
#include <QCoreApplication>
#include <QTest>
#include <QWindow>

namespace tavrik::test {

/// A window as assistive technology meets it: named objects that are showing, and what can be done with them.
class AccessibleTree {
public:
    explicit AccessibleTree(QWindow& window) : m_window(window) { QAccessible::setActive(true); }

    /// The first object of this name that shows, a control that can be used rather than anything else; null
    /// if there is none.
    QAccessibleInterface* find(const QString& name) const {
        auto* root = QAccessible::queryAccessibleInterface(&m_window);
        auto* control = find(
            root, name, [](const QAccessible::State& state) { return state.focusable && !state.disabled; });
        return control ? control : find(root, name, [](const QAccessible::State&) { return true; });
    }
    bool shows(const QString& name) const { return find(name) != nullptr; }

    /// The state of the object, which must show.
    QAccessible::State state(const QString& name) const {
        const auto* object = find(name);
        return object ? object->state() : QAccessible::State();
    }

    /// Clicks into the object's middle, once it shows.
    void click(const QString& name) const {
        QVERIFY2(QTest::qWaitFor([&] { return shows(name); }), qPrintable(name));
        QTest::mouseClick(&m_window, Qt::LeftButton, {}, m_window.mapFromGlobal(find(name)->rect().center()));
    }

    /// What a screen reader does in place of a click.
    void press(const QString& name) const {
        QVERIFY2(QTest::qWaitFor([&] { return shows(name); }), qPrintable(name));
        find(name)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    }

private:
    static QAccessibleInterface* find(QAccessibleInterface* object, const QString& name, auto suits) {
        if (!object || object->state().invisible)
            return nullptr;
        if (object->text(QAccessible::Name) == name && suits(object->state()))
            return object;
        for (int i = 0; i < object->childCount(); ++i) {
            if (auto* found = find(object->child(i), name, suits))
                return found;
        }
        return nullptr;
    }

    QWindow& m_window;
};

} // namespace tavrik::test
