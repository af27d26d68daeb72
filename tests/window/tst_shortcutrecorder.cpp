#include "capture/AbstractHotKeyOwner.h"
#include "platform/KeyReader.h"
#include "storage/Settings.h"
#include "support/FakePlatform.h"
#include "window/ShortcutRecorder.h"
#include "window/ShortcutText.h"

#include <QKeyEvent>
#include <QTest>
#include <QWindow>

using namespace tavrik;

namespace {

constexpr auto control = KeyCombination::control;
constexpr auto option = KeyCombination::option;
constexpr auto shift = KeyCombination::shift;
constexpr auto command = KeyCombination::command;

/// A keyboard whose scan codes are the Mac's key codes; codes above 127 are modifier keys.
class PlainReader : public KeyReader {
public:
    std::optional<KeyPress> read(const QKeyEvent& event) const override {
        if (event.nativeScanCode() > 127)
            return std::nullopt;
        return KeyPress{{event.nativeScanCode(), event.nativeModifiers()}, event.text()};
    }
};

class OwnerLog : public AbstractHotKeyOwner {
public:
    explicit OwnerLog(fake::Preferences& store) : preferences(store) {}
    void releaseHotKey() override { journal << "release"; }
    void hotKeyChanged() override {
        journal << QString("register %1 %2 %3")
                       .arg(preferences.value("hotkey_keycode").toUInt())
                       .arg(preferences.value("hotkey_modifiers").toUInt())
                       .arg(preferences.value("hotkey_display").toString());
    }
    HotKeyBackend::Status hotKeyStatus() const override { return status; }

    fake::Preferences& preferences;
    fake::Journal journal;
    HotKeyBackend::Status status = HotKeyBackend::Status::registered;
};

/// What has the focus while a shortcut is recorded.
class ListeningWindow : public QWindow {
public:
    QStringList heard;

protected:
    void keyPressEvent(QKeyEvent* event) override { heard << event->text(); }
};

struct Desk {
    fake::Preferences preferences;
    Settings settings{preferences};
    PlainReader reader;
    OwnerLog owner{preferences};
    ShortcutRecorder recorder{{preferences, settings, reader, owner}};
    ListeningWindow window;

    Desk() {
        window.show();
        window.requestActivate();
        if (!QTest::qWaitForWindowActive(&window))
            qFatal("no focus");
    }

    void send(QEvent::Type type, quint32 code, quint32 modifiers, const QString& text, bool repeats = false) {
        QKeyEvent event(type, 0, {}, code, 0, modifiers, text, repeats);
        QCoreApplication::sendEvent(&window, &event);
    }
    void press(quint32 code, quint32 modifiers = 0, const QString& text = {}, bool repeats = false) {
        send(QEvent::KeyPress, code, modifiers, text, repeats);
    }
    void release(quint32 code) { send(QEvent::KeyRelease, code, 0, {}); }
    void type(quint32 code, quint32 modifiers = 0, const QString& text = {}) {
        press(code, modifiers, text);
        release(code);
    }
};

} // namespace

class ShortcutRecorderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void text_data() {
        QTest::addColumn<quint32>("code");
        QTest::addColumn<quint32>("modifiers");
        QTest::addColumn<QString>("characters");
        QTest::addColumn<QString>("expected");
        QTest::newRow("all in order") << 126U << command + shift + option + control << "" << "⌃⌥⇧⌘ ↑";
        QTest::newRow("return") << 36U << command << "\r" << "⌘ Return";
        QTest::newRow("backspace") << 51U << option << "\b" << "⌥ Delete";
        QTest::newRow("no characters") << 96U << option << "" << "⌥ Key 96";
        QTest::newRow("Persian") << 40U << command << "ن" << "⌘ ن";
        QTest::newRow("grows") << 27U << control << "ß" << "⌃ SS";
    }

    void text() {
        QFETCH(quint32, code);
        QFETCH(quint32, modifiers);
        QFETCH(QString, characters);
        QTEST(shortcutText({{code, modifiers}, characters}), "expected");
    }

    void combinations_data() {
        QTest::addColumn<quint32>("code");
        QTest::addColumn<quint32>("modifiers");
        QTest::addColumn<bool>("stored");
        QTest::addColumn<bool>("stillRecording");
        QTest::newRow("option") << 0U << option << true << false;
        QTest::newRow("with shift") << 0U << control + shift << true << false;
        QTest::newRow("plain") << 0U << 0U << false << true;
        QTest::newRow("shift alone") << 0U << shift << false << true;
        QTest::newRow("modifier key") << 200U << control << false << true;
        QTest::newRow("escape") << 53U << 0U << false << false;
        QTest::newRow("escape with modifiers") << 53U << command + option << false << false;
    }

    void combinations() {
        QFETCH(quint32, code);
        QFETCH(quint32, modifiers);
        QFETCH(bool, stored);
        QFETCH(bool, stillRecording);
        Desk desk;
        desk.recorder.toggle();
        QCOMPARE(desk.owner.journal, QStringList("release"));
        desk.type(code, modifiers, "a");
        QCOMPARE(desk.recorder.isRecording(), stillRecording);
        QCOMPARE(desk.preferences.values.contains("hotkey_keycode"), stored);
        if (stored) {
            QCOMPARE(desk.preferences.values["hotkey_keycode"], QVariant(qlonglong{code}));
            QCOMPARE(desk.preferences.values["hotkey_modifiers"], QVariant(qlonglong{modifiers}));
            QCOMPARE(desk.recorder.display(), desk.preferences.values["hotkey_display"].toString());
            QCOMPARE(desk.owner.journal.last(),
                     QString("register %1 %2 %3").arg(code).arg(modifiers).arg(desk.recorder.display()));
        }
        QCOMPARE(desk.owner.journal.size(), stillRecording ? 1 : 2);

        desk.recorder.cancel();
        QCOMPARE(desk.owner.journal.size(), 2);
        QVERIFY(desk.window.heard.isEmpty());
        desk.type(0, 0, "heard");
        QCOMPARE(desk.window.heard, QStringList("heard"));
    }

    void keepsTheKeyUntilItComesUp() {
        Desk desk;
        desk.recorder.toggle();
        desk.press(49, option, " ");
        QVERIFY(!desk.recorder.isRecording());
        QCOMPARE(desk.recorder.display(), "⌥ Space");

        // It repeats, and its modifier may come up first; a second key is not for anybody either.
        desk.press(49, option, " ", true);
        desk.release(200);
        desk.type(12, option, "q");
        QCOMPARE(desk.owner.journal, QStringList("release"));
        QCOMPARE(desk.preferences.values["hotkey_keycode"].toInt(), 49);
        desk.send(QEvent::KeyRelease, 49, 0, {}, true);
        QCOMPARE(desk.owner.journal, QStringList("release"));
        desk.release(49);
        QCOMPARE(desk.owner.journal.last(), "register 49 2048 ⌥ Space");
        QVERIFY(desk.window.heard.isEmpty());
    }

    void endsWithoutTheFocus() {
        Desk desk;
        desk.recorder.toggle();
        QWindow other;
        other.show();
        other.requestActivate();
        QTRY_VERIFY(!desk.recorder.isRecording());
        QCOMPARE(desk.owner.journal.size(), 2);
    }

    void endsWithItsOwner() {
        Desk desk;
        {
            ShortcutRecorder recorder({desk.preferences, desk.settings, desk.reader, desk.owner});
            recorder.toggle();
        }
        QCOMPARE(desk.owner.journal.size(), 2);
        desk.type(0, 0, "heard");
        QCOMPARE(desk.window.heard, QStringList("heard"));
    }

    void warnsOfACombinationThatIsTaken() {
        Desk desk;
        QCOMPARE(desk.recorder.warning(), "");
        desk.owner.status = HotKeyBackend::Status::taken;
        QVERIFY(desk.recorder.warning().contains("⌥ Space"));
        desk.recorder.toggle();
        QCOMPARE(desk.recorder.warning(), "");
        desk.type(53);
        desk.owner.status = HotKeyBackend::Status::unavailable;
        QVERIFY(!desk.recorder.warning().isEmpty());
    }
};

QTEST_MAIN(ShortcutRecorderTest)
#include "tst_shortcutrecorder.moc"
