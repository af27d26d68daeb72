#include "platform/XKeys.h"
#include "support/AccessibleTree.h"
#include "ui/WindowDesk.h"

#include <QApplication>
#include <QKeyEvent>
#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;

namespace {

const auto defaultShortcut = u"Shortcut: ⌥ Space"_s;
const auto recording = u"Shortcut: Press keys…"_s;

/// The window, and hands at the keyboard.
struct Desk : test::WindowDesk {
    XKeys hands;

    explicit Desk(bool signedIn = true, bool collapsed = false) {
        preferences.values["sidebar_collapsed"] = collapsed;
        start(signedIn);
        controller.show({});
        if (!QTest::qWaitForWindowActive(&window()))
            qFatal("the window did not become active");
    }

    test::AccessibleTree tree() { return test::AccessibleTree(window()); }

    void type(const QByteArray& text) {
        for (const char character : text)
            QTest::keyClick(&window(), character);
    }
    void key(Qt::Key key) { QTest::keyClick(&window(), key); }

    void recordShortcut() {
        tree().click(u"Settings"_s);
        tree().click(defaultShortcut);
        QTRY_VERIFY(tree().shows(recording));
    }
};

} // namespace

class MainWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        QGuiApplication::setQuitOnLastWindowClosed(false);
    }

    void aClickOnACardStaysOnIt() {
        Desk desk;
        const auto tree = desk.tree();
        tree.click(u"Account"_s);
        QTRY_VERIFY(tree.shows(u"Sara Ahmadi"_s));
        // On nothing in it.
        tree.click(tree.find(u"sara@example.org"_s));
        QVERIFY(tree.shows(u"Sara Ahmadi"_s));
        desk.key(Qt::Key_Escape);
        QTRY_VERIFY(!tree.shows(u"Sara Ahmadi"_s));
    }

    void sheetKeepsEverythingOut() {
        Desk desk;
        const auto tree = desk.tree();
        tree.click(u"Settings"_s);
        QTRY_VERIFY(tree.shows(u"How Tavrik looks."_s));
        QVERIFY(!tree.isEnabled(u"History"_s));
        tree.press(u"History"_s);
        QVERIFY(tree.shows(u"Welcome back, Sara"_s));

        // However far one tabs, one does not leave the sheet.
        for (int i = 0; i < 20; ++i) {
            desk.key(Qt::Key_Tab);
            const auto name = tree.focused();
            QVERIFY2(name != u"Home"_s && name != u"History"_s && name != u"Notifications"_s,
                     qPrintable(name));
        }
        QTest::mouseClick(&desk.window(), Qt::LeftButton, {}, QPoint(30, 300));
        QTRY_VERIFY(!tree.shows(u"How Tavrik looks."_s));
        tree.click(u"History"_s);
        QTRY_VERIFY(!tree.shows(u"Welcome back, Sara"_s));
    }

    void sidebarRemembersItsWidth() {
        Desk desk(true, true);
        const auto tree = desk.tree();
        const auto width = [&] {
            return tree.find(u"History"_s)->rect().width();
        };
        QTRY_COMPARE(width(), 36);
        tree.click(u"Expand sidebar"_s);
        QCOMPARE(desk.preferences.values["sidebar_collapsed"], QVariant(false));
        QTRY_COMPARE(width(), 184);
        tree.click(u"Collapse sidebar"_s);
        QCOMPARE(desk.preferences.values["sidebar_collapsed"], QVariant(true));
        QTRY_COMPARE(width(), 36);
    }

    void closesAndOpensAgain() {
        Desk desk;
        const auto tree = desk.tree();
        auto* window = desk.controller.window();
        QCOMPARE(window->minimumSize(), QSize(900, 560));
        QCOMPARE(window->size(), QSize(980, 640));
        tree.click(u"History"_s);
        const auto place = window->position();
        QTest::keyClick(window, Qt::Key_W, Qt::ControlModifier);
        QTRY_VERIFY(!window->isVisible());

        desk.controller.show({});
        QCOMPARE(desk.controller.window(), window);
        QVERIFY(QTest::qWaitForWindowActive(window));
        QTRY_COMPARE(window->position(), place);
        QVERIFY(!tree.shows(u"Welcome back, Sara"_s));

        window->showMinimized();
        QTRY_VERIFY(window->windowStates() & Qt::WindowMinimized);
        desk.controller.show({});
        QTRY_VERIFY(!(window->windowStates() & Qt::WindowMinimized));
        QVERIFY(QTest::qWaitForWindowActive(window));
    }

    // However much the server has to say, there is room for the button.
    void aLongMessageLeavesTheButtonInSight() {
        Desk desk(false);
        const auto tree = desk.tree();
        tree.click(u"Email"_s);
        desk.type("sara@example.org");
        desk.key(Qt::Key_Tab);
        desk.type("secret");
        const auto wrong = u"W"_s.repeated(5000);
        desk.service.script(
            {{.path = {}, .reply = {.status = 400, .body = R"({"msg":")" + wrong.toUtf8() + R"("})"}}});
        desk.key(Qt::Key_Return);
        QTRY_VERIFY(tree.shows(wrong));
        QVERIFY(desk.window().contentItem()->contains(tree.middle(tree.find(u"Sign in"_s))));
    }

    void keyboardAlone() {
        Desk desk;
        const auto tree = desk.tree();
        const auto tabTo = [&](const QString& name) {
            for (int i = 0; i < 30; ++i) {
                desk.key(Qt::Key_Tab);
                if (tree.focused() == name)
                    return true;
            }
            return false;
        };
        QVERIFY(tabTo(u"Settings"_s));
        desk.key(Qt::Key_Space);
        QTRY_VERIFY(tree.shows(u"How Tavrik looks."_s));
        QVERIFY(tabTo(u"English"_s));
        desk.key(Qt::Key_Right);
        QCOMPARE(desk.preferences.values.value("target_language"), QVariant(u"German"_s));
        desk.key(Qt::Key_Right);
        QCOMPARE(desk.preferences.values.value("target_language"), QVariant(u"Italian"_s));
        desk.key(Qt::Key_Escape);
        QTRY_VERIFY(!tree.shows(u"How Tavrik looks."_s));
        QVERIFY(tabTo(u"Account"_s));
        desk.key(Qt::Key_Return);
        QTRY_VERIFY(tree.shows(u"Sign out"_s));
    }

    void recordsWhatIsTyped_data() {
        QTest::addColumn<QList<int>>("held");
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("mask");
        QTest::addColumn<QString>("display");
        QTest::newRow("super and v") << QList<int>{keySuper} << int(keyV) << 9 << 256 << u"⌘ V"_s;
        QTest::newRow("control, option and tab")
            << QList<int>{keyControl, keyAlt} << 23 << 48 << 6144 << u"⌃⌥ Tab"_s;
        QTest::newRow("control, shift and v")
            << QList<int>{keyControl, keyShift} << int(keyV) << 9 << 4608 << u"⌃⇧ V"_s;
    }

    // By hands, on the real server; another program has grabbed the very
    // combination.
    void recordsWhatIsTyped() {
        QFETCH(QList<int>, held);
        QFETCH(int, key);
        Desk desk;
        const auto tree = desk.tree();
        XKeys otherProgram;
        QVERIFY(otherProgram.grab(static_cast<quint8>(key), XCB_MOD_MASK_ANY));
        desk.recordShortcut();
        QCOMPARE(desk.hotKey.released, 1);

        for (const int modifier : held)
            desk.hands.press(static_cast<quint8>(modifier));
        desk.hands.press(static_cast<quint8>(key));
        QTRY_VERIFY(!tree.shows(recording));
        QCOMPARE(desk.hotKey.changed, 0);
        desk.hands.release(static_cast<quint8>(key));
        for (const int modifier : held)
            desk.hands.release(static_cast<quint8>(modifier));
        QTRY_COMPARE(desk.hotKey.changed, 1);
        QTEST(desk.preferences.values.value("hotkey_keycode").toInt(), "code");
        QTEST(desk.preferences.values.value("hotkey_modifiers").toInt(), "mask");
        QTEST(desk.preferences.values.value("hotkey_display").toString(), "display");
        QVERIFY(tree.shows(u"Shortcut: "_s + desk.settings.hotKeyDisplay()));
        QVERIFY(tree.shows(u"How Tavrik looks."_s));
    }

    void whatIsNoShortcutIsNotRecorded() {
        Desk desk;
        desk.recordShortcut();
        desk.hands.press(keyV);
        desk.hands.release(keyV);
        desk.hands.chord(keyShift, keyV);
        desk.hands.press(keyControl);
        desk.hands.release(keyControl);
        desk.hands.chord(keyAlt, keyEscape);
        QTRY_COMPARE(desk.hotKey.changed, 1);
        QVERIFY(!desk.preferences.values.contains("hotkey_keycode"));
        QVERIFY(desk.tree().shows(defaultShortcut));
    }

    void aRecordedKeyIsKeptUntilItComesUp() {
        Desk desk;
        desk.recordShortcut();
        desk.hands.press(keyAlt);
        desk.hands.press(keySpace);
        QTRY_VERIFY(desk.tree().shows(defaultShortcut));

        // Its modifier may come up first, and it repeats; a second key is not for anybody either.
        desk.hands.release(keyAlt);
        QKeyEvent repeat(QEvent::KeyRelease, 0, {}, keySpace, 0, 0, {}, true);
        QCoreApplication::sendEvent(&desk.window(), &repeat);
        desk.hands.chord(keyControl, keyV);
        QTest::qWait(50);
        QCOMPARE(desk.hotKey.changed, 0);
        desk.hands.release(keySpace);
        QTRY_COMPARE(desk.hotKey.changed, 1);
        QCOMPARE(desk.hotKey.released, 1);
        QCOMPARE(desk.preferences.values["hotkey_keycode"].toInt(), 49);
    }

    void leavingEndsTheRecording() {
        Desk desk;
        const auto tree = desk.tree();
        for (const auto& away : {u"Close"_s, u"Account"_s}) {
            const int before = desk.hotKey.changed;
            desk.recordShortcut();
            tree.click(away);
            QTRY_COMPARE(desk.hotKey.changed, before + 1);
        }
        // And so does losing the window.
        tree.click(u"General"_s);
        tree.click(defaultShortcut);
        QTRY_COMPARE(desk.hotKey.released, 3);
        desk.window().close();
        QTRY_COMPARE(desk.hotKey.changed, 3);
        desk.controller.show({});
        tree.click(defaultShortcut);
        QTRY_COMPARE(desk.hotKey.released, 4);
        QWindow other;
        other.show();
        other.requestActivate();
        QTRY_COMPARE(desk.hotKey.changed, 4);
    }

    void warnsOfAShortcutThatIsTaken() {
        Desk desk;
        desk.tree().click(u"Settings"_s);
        const auto warning = u"Another program holds this shortcut."_s;
        desk.hotKey.set({u"fake"_s, false, warning});
        QTRY_VERIFY(desk.tree().shows(warning));
        desk.tree().click(defaultShortcut);
        QTRY_VERIFY(!desk.tree().shows(warning));
        desk.hotKey.set({u"fake"_s, true});
        desk.hands.press(keyEscape);
        desk.hands.release(keyEscape);
        QTRY_VERIFY(!desk.tree().shows(warning));
    }
};

QTEST_MAIN(MainWindowTest)
#include "tst_mainwindow.moc"
