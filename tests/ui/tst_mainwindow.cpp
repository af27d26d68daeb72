#include "platform/XKeys.h"
#include "support/AccessibleTree.h"
#include "ui/WindowDesk.h"
#include "ui/account/LoginForm.h"

#include <QApplication>
#include <QKeyEvent>
#include <QRegularExpression>
#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;

namespace {

const auto defaultShortcut = u"Shortcut: ⌥ Space"_s;
const auto recording = u"Shortcut: Press keys…"_s;

/// The window, and hands at the keyboard.
struct Desk : test::WindowDesk {
    XKeys hands;

    explicit Desk(bool signedIn = true, const QString& userName = u"Sara Ahmadi"_s) : WindowDesk(userName) {
        start(signedIn);
        controller.show({});
        if (!QTest::qWaitForWindowActive(&window()))
            qFatal("the window did not become active");
    }

    test::AccessibleTree tree() { return test::AccessibleTree(window()); }
    void key(int key) { QTest::keyClick(&window(), Qt::Key(key)); }
    void reply(int status, const QByteArray& body) {
        service.script({{.path = {}, .reply = {.status = status, .body = body}}});
    }
    void recordShortcut(bool sheetIsOpen = false) {
        if (!sheetIsOpen)
            tree().click(u"Settings"_s);
        tree().click(defaultShortcut);
        QTRY_VERIFY(tree().shows(recording));
    }
    bool tabTo(const QString& name, const QString& never = u"-"_s) {
        for (int i = 0; i < 30 && tree().focused() != never; ++i) {
            key(Qt::Key_Tab);
            if (tree().focused() == name)
                return true;
        }
        return false;
    }
};

} // namespace

/// What test_window.py does not meet.
class MainWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        QGuiApplication::setQuitOnLastWindowClosed(false);
    }
    void init() { QTest::failOnWarning(QRegularExpression(u"."_s)); }

    void sizesAndMinimizing() {
        Desk desk;
        QCOMPARE(desk.window().minimumSize(), QSize(900, 560));
        QCOMPARE(desk.window().size(), QSize(980, 640));
        desk.window().showMinimized();
        QTRY_VERIFY(desk.window().windowStates() & Qt::WindowMinimized);
        desk.controller.show({});
        QTRY_VERIFY(!(desk.window().windowStates() & Qt::WindowMinimized));
        QVERIFY(QTest::qWaitForWindowActive(&desk.window()));
    }

    void signInForm() {
        test::WindowDesk desk;
        desk.start(false);
        AccountModel account(desk.account, desk.links, {});
        auto form = std::make_unique<LoginForm>();
        form->setProperty("account", QVariant::fromValue(&account));
        const auto canSubmit = [&](const char* email, const char* password) {
            form->setProperty("email", QString::fromUtf8(email));
            form->setProperty("password", QString::fromUtf8(password));
            return form->isSubmittable();
        };
        QVERIFY(!canSubmit("", "secret"));
        QVERIFY(canSubmit(" ", "      "));
        QVERIFY(canSubmit("a", "😀😀😀😀😀😀"));
        QVERIFY2(!canSubmit("a", "👨‍👩‍👧‍👦👨‍👩‍👧‍👦12"),
                 "a family is one character");
        QVERIFY(canSubmit("a@b", "secret"));
        desk.service.script(
            {{.path = {}, .reply = {.status = 200, .body = R"({"access_token":"a","refresh_token":"r"})"}}});
        form->submit();
        form->submit();
        // The screen goes before the reply comes.
        form.reset();
        QTRY_VERIFY(account.isSignedIn());
        QCOMPARE(desk.service.requests().size(), 1);
    }

    // Markup would be drawn green. However much a service says, there is room for the button.
    void foreignTextIsDrawnAsItStands() {
        const auto foreign = u"<font color='#00ff00'>████</font>"_s;
        Desk desk(false, foreign);
        const auto tree = desk.tree();
        const auto look = [&](const QString& shown) {
            QTRY_VERIFY2(tree.shows(shown), qPrintable(shown));
            const auto picture = desk.window().grabWindow();
            int green = 0;
            for (int i = 0; i < picture.width() * picture.height(); ++i) {
                const auto pixel = picture.pixel(i % picture.width(), i / picture.width());
                green += qGreen(pixel) > qRed(pixel) + 100;
            }
            QVERIFY2(green == 0, qPrintable(shown));
        };
        tree.click(u"Email"_s);
        desk.key(Qt::Key_A);
        desk.key(Qt::Key_Tab);
        for (int i = 0; i < 6; ++i)
            desk.key(Qt::Key_A);
        const auto message = foreign.repeated(500);
        desk.reply(400, "{\"msg\":\"" + message.toUtf8() + "\"}");
        desk.key(Qt::Key_Return);
        look(message);
        QVERIFY(desk.window().contentItem()->contains(tree.middle(tree.find(u"Sign in"_s))));
        desk.history.insertFirst({QUuid::createUuid(), QDateTime::currentDateTimeUtc(), foreign.toUtf8(), 1});
        desk.reply(200, R"({"access_token":"a","refresh_token":"r","user":{"email":"%"}})"_ba.replace(
                            "%", foreign.toUtf8()));
        desk.key(Qt::Key_Return);
        look(u"Transcriptions"_s);
        tree.click(u"Account"_s);
        look(foreign);
        desk.key(Qt::Key_Escape);
        tree.click(u"Settings"_s);
        QTRY_VERIFY(tree.shows(u"How Tavrik looks."_s));
        tree.click(u"Account"_s);
        look(u"Session"_s);
    }

    void keyboardAlone() {
        Desk desk;
        const auto tree = desk.tree();
        QVERIFY(desk.tabTo(u"Settings"_s));
        desk.key(Qt::Key_Space);
        QTRY_VERIFY(tree.shows(u"How Tavrik looks."_s));
        tree.press(u"History"_s);
        QVERIFY(tree.shows(u"Welcome back, Sara"_s));
        // However far one tabs, one does not leave the sheet.
        QVERIFY(!desk.tabTo(u"Notifications"_s));
        QVERIFY(desk.tabTo(u"English"_s));
        desk.key(Qt::Key_Right);
        desk.key(Qt::Key_Down);
        QCOMPARE(desk.preferences.values.value("target_language"), QVariant(u"Italian"_s));
        // A picker is one stop. The next is the appearance's "System", then the tab.
        QVERIFY(desk.tabTo(u"System"_s, u"French"_s));
        QVERIFY(desk.tabTo(u"System"_s));
        desk.key(Qt::Key_Return);

        const auto sounds = u"Recording and notification sounds"_s;
        const auto isOn = [&](const QString& name) {
            return bool(tree.find(name)->state().checked);
        };
        QTRY_VERIFY(desk.tabTo(sounds));
        QVERIFY(isOn(sounds));
        desk.key(Qt::Key_Space);
        QVERIFY(!isOn(sounds));
        desk.key(Qt::Key_Return);
        QVERIFY(isOn(sounds));
        tree.press(sounds);
        QVERIFY(!isOn(sounds));
        QCOMPARE(desk.preferences.values.value("sounds_enabled"), QVariant(false));
        // This desktop refuses.
        tree.press(u"Launch app at login"_s);
        QVERIFY(!isOn(u"Launch app at login"_s));
    }

    void recordsWhatIsTyped_data() {
        QTest::addColumn<QList<int>>("keys");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("mask");
        QTest::addColumn<QString>("display");
        QTest::newRow("super and v") << QList<int>{keySuper, keyV} << 9 << 256 << u"⌘ V"_s;
        QTest::newRow("two modifiers") << QList<int>{keyControl, keyAlt, 23} << 48 << 6144 << u"⌃⌥ Tab"_s;
        QTest::newRow("with shift") << QList<int>{keyControl, keyShift, keyV} << 9 << 4608 << u"⌃⇧ V"_s;
        QTest::newRow("shift alone") << QList<int>{keyShift, keyV} << 0 << 0 << u"⌥ Space"_s;
        QTest::newRow("a modifier alone") << QList<int>{keyControl} << 0 << 0 << u"⌥ Space"_s;
    }

    // On the real server, where another program has grabbed the very key.
    void recordsWhatIsTyped() {
        QFETCH(QList<int>, keys);
        Desk desk;
        XKeys otherProgram;
        QVERIFY(otherProgram.grab(keyV, XCB_MOD_MASK_ANY));
        desk.recordShortcut();
        QCOMPARE(desk.hotKey.released, 1);
        for (const int key : keys)
            desk.hands.press(static_cast<quint8>(key));
        // The hot key stays away until the last key is up, in whatever order they come up. It repeats
        // meanwhile.
        QTRY_COMPARE(desk.tree().shows(recording), keys.size() == 1 || keys.at(0) == keyShift);
        QKeyEvent repeat(QEvent::KeyRelease, 0, {}, static_cast<quint32>(keys.last()), 0, 0, {}, true);
        QCoreApplication::sendEvent(&desk.window(), &repeat);
        for (const int key : keys.first(keys.size() - 1))
            desk.hands.release(static_cast<quint8>(key));
        QTest::qWait(50);
        QCOMPARE(desk.hotKey.changed, 0);
        desk.hands.release(static_cast<quint8>(keys.last()));
        desk.hands.chord(keyAlt, keyEscape);
        QTRY_COMPARE(desk.hotKey.changed, 1);
        QTEST(desk.preferences.values.value("hotkey_keycode").toInt(), "code");
        QTEST(desk.preferences.values.value("hotkey_modifiers").toInt(), "mask");
        QTEST(desk.settings.hotKeyDisplay(), "display");
        QVERIFY(desk.tree().shows(u"Shortcut: "_s + desk.settings.hotKeyDisplay()));
    }

    void leavingEndsTheRecording() {
        Desk desk;
        int ended = 0;
        for (const auto& away : {u"Close"_s, u"Account"_s}) {
            desk.recordShortcut();
            desk.tree().click(away);
            ++ended;
            QTRY_COMPARE(desk.hotKey.changed, ended);
        }
        desk.tree().click(u"General"_s);
        desk.recordShortcut(true);
        desk.window().close();
        QTRY_COMPARE(desk.hotKey.changed, ended + 1);
        desk.controller.show({});
        desk.recordShortcut(true);
        QWindow other;
        other.show();
        other.requestActivate();
        QTRY_COMPARE(desk.hotKey.changed, ended + 2);
    }

    void warnsOfAShortcutThatIsTaken() {
        Desk desk;
        const auto warning = u"Another program holds this shortcut."_s;
        desk.hotKey.set({u"fake"_s, false, warning});
        desk.tree().click(u"Settings"_s);
        QTRY_VERIFY(desk.tree().shows(warning));
        desk.recordShortcut(true);
        QTRY_VERIFY(!desk.tree().shows(warning));
    }
};

QTEST_MAIN(MainWindowTest)
#include "tst_mainwindow.moc"
