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
    void recordShortcut() {
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

    void comesBackFromMinimized() {
        Desk desk;
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
        // A family is one character.
        for (const auto& [email, password, suffices] :
             {std::tuple{"", "secret", false},
              {"a", "👨‍👩‍👧‍👦👨‍👩‍👧‍👦12", false},
              {" ", "😀😀😀😀😀😀", true}}) {
            form->setProperty("email", QString::fromUtf8(email));
            form->setProperty("password", QString::fromUtf8(password));
            QCOMPARE(form->isSubmittable(), suffices);
        }
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
            for (int i = 0; i < picture.width() * picture.height(); ++i) {
                const auto pixel = picture.pixel(i % picture.width(), i / picture.width());
                QVERIFY2(qGreen(pixel) <= qRed(pixel) + 100, qPrintable(shown));
            }
        };
        tree.click(u"Email"_s);
        const auto message = foreign.repeated(500);
        desk.reply(400, "{\"msg\":\"" + message.toUtf8() + "\"}");
        for (const auto key : u"A\tAAAAAA\r"_s)
            QTest::keyClick(&desk.window(), key.toLatin1());
        look(message);
        QVERIFY(desk.window().contentItem()->contains(tree.middle(tree.find(u"Sign in"_s))));
        desk.reply(200, R"({"access_token":"a","refresh_token":"r","user":{"email":"%"}})"_ba.replace(
                            "%", foreign.toUtf8()));
        desk.key(Qt::Key_Return);
        look(u"Transcriptions"_s);
        tree.click(u"Account"_s);
        look(foreign);
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
        QTRY_VERIFY(desk.tabTo(sounds));
        for (const auto key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Space}) {
            const bool wasOn = tree.find(sounds)->state().checked;
            desk.key(key);
            QCOMPARE(bool(tree.find(sounds)->state().checked), !wasOn);
        }
        QCOMPARE(desk.preferences.values.value("sounds_enabled"), QVariant(false));
    }

    // On the real server, where another program has grabbed the very key.
    void recordsWhatIsTyped() {
        const std::tuple<QList<quint8>, int, int, QString> rows[]{
            {{keySuper, keyV}, 9, 256, u"⌘ V"_s},
            {{keyControl, keyAlt, 23}, 48, 6144, u"⌃⌥ Tab"_s},
            {{keyShift, keyV}, 0, 0, u"⌥ Space"_s},
            {{keyControl}, 0, 0, u"⌥ Space"_s}};
        for (const auto& [keys, code, mask, display] : rows) {
            Desk desk;
            XKeys otherProgram;
            QVERIFY(otherProgram.grab(keyV, XCB_MOD_MASK_ANY));
            desk.recordShortcut();
            for (const auto key : keys)
                desk.hands.press(key);
            // The hot key stays away until the last key is up, in whatever order they come up. It repeats
            // meanwhile.
            QTRY_COMPARE(desk.tree().shows(recording), keys.size() == 1 || keys.at(0) == keyShift);
            QKeyEvent repeat(QEvent::KeyRelease, 0, {}, quint32(keys.last()), 0, 0, {}, true);
            QCoreApplication::sendEvent(&desk.window(), &repeat);
            for (const auto key : keys.first(keys.size() - 1))
                desk.hands.release(key);
            QTest::qWait(50);
            QCOMPARE(desk.hotKey.changed, 0);
            desk.hands.release(keys.last());
            desk.hands.chord(keyAlt, keyEscape);
            QTRY_COMPARE(desk.hotKey.changed, 1);
            QCOMPARE(desk.preferences.values.value("hotkey_keycode").toInt(), code);
            QCOMPARE(desk.preferences.values.value("hotkey_modifiers").toInt(), mask);
            QVERIFY(desk.tree().shows(u"Shortcut: "_s + display));
        }
    }

    void leavingEndsTheRecording() {
        for (const auto& way : {u"Close"_s, u"Account"_s, u"the window"_s, u"the focus"_s}) {
            Desk desk;
            QWindow other;
            desk.recordShortcut();
            QCOMPARE(desk.hotKey.released, 1);
            if (way == u"the focus") {
                other.show();
                other.requestActivate();
            } else if (way == u"the window") {
                desk.window().close();
            } else {
                desk.tree().click(way);
            }
            QTRY_COMPARE(desk.hotKey.changed, 1);
        }
    }

    void warnsOfAShortcutThatIsTaken() {
        Desk desk;
        const auto warning = u"Another program holds this shortcut."_s;
        desk.hotKey.set({u"fake"_s, false, warning});
        desk.tree().click(u"Settings"_s);
        QTRY_VERIFY(desk.tree().shows(warning));
        desk.tree().click(defaultShortcut);
        QTRY_VERIFY(!desk.tree().shows(warning));
    }
};

QTEST_MAIN(MainWindowTest)
#include "tst_mainwindow.moc"
