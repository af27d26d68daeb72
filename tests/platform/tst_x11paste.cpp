#include "base/MainQueue.h"
#include "capture/Paster.h"
#include "platform/XKeys.h"
#include "platform/qt/QtClipboard.h"
#include "platform/x11/X11HotKeyBackend.h"
#include "platform/x11/X11Keyboard.h"
#include "platform/x11/X11PasteKeys.h"
#include "support/Files.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace tavrik;
using namespace tavrik::test;

namespace {

/// A program that ends with this.
struct Program : QProcess {
    Program(const QString& program, const QStringList& arguments) { start(program, arguments); }
    ~Program() override {
        terminate();
        waitForFinished();
    }
};

} // namespace

/// The text as an editor of another process receives it.
class TestX11Paste : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    const QString m_file = m_folder.filePath(u"text.txt"_s);
    QString m_expected;
    int m_count = 0;
    /// Of each paste, how it ended.
    QStringList m_outcomes;
    MainQueue m_queue;
    QtClipboard m_clipboard;
    std::unique_ptr<XKeys> m_keys;
    std::unique_ptr<X11Keyboard> m_keyboard;
    std::unique_ptr<X11PasteKeys> m_pasteKeys;
    std::unique_ptr<Program> m_editor;

    bool hasFocus(const QByteArray& windowClass) const {
        return QTest::qWaitFor(
            [&] { return m_keyboard->queryInput().focusedWindowClass.contains(windowClass); }, 20000);
    }

    bool editorIsModified() const {
        return output(u"xdotool"_s, {u"getactivewindow"_s, u"getwindowname"_s}).startsWith(u'*');
    }

    QString paste() {
        const auto text = u"%1. Grüße, \"دنیا\" 👋\n"_s.arg(++m_count);
        Paster(m_clipboard, *m_pasteKeys, m_queue).paste(text, [this](const Result<void>& outcome) {
            m_outcomes << (outcome ? u"pasted"_s : outcome.error().description);
        });
        return text;
    }

    // Looks once the editor holds something unsaved; nothing may be in the way of its keys then.
    void arrives(const QString& text) {
        QTRY_VERIFY(editorIsModified());
        m_expected += text;
        m_keys->chord(keyControl, keyS);
        QTRY_VERIFY(!editorIsModified());
        QCOMPARE(QString::fromUtf8(contentOf(m_file)), m_expected);
        QTRY_VERIFY(!m_outcomes.isEmpty());
        QVERIFY(m_outcomes.count(u"pasted"_s) == m_outcomes.size());
    }

private Q_SLOTS:
    void initTestCase() {
        output(u"setxkbmap"_s, {u"us"_s});
        QVERIFY(writeFile(m_file, {}));
        m_keys = std::make_unique<XKeys>();
        m_keyboard = std::make_unique<X11Keyboard>();
        m_editor = std::make_unique<Program>(u"mousepad"_s, QStringList{u"--disable-server"_s, m_file});
        QVERIFY(hasFocus("Mousepad"));
        QTRY_VERIFY(output(u"xdotool"_s, {u"getactivewindow"_s, u"getwindowname"_s}).contains(u"text.txt"));
    }

    void init() {
        m_outcomes.clear();
        m_pasteKeys = std::make_unique<X11PasteKeys>(*m_keyboard, [this] { m_clipboard.offerAsSelection(); });
    }

    void cleanup() { m_keys->releaseAll(); }
    void cleanupTestCase() { m_editor.reset(); }

    void layoutsAndLocks_data() {
        QTest::addColumn<QStringList>("layout");
        QTest::addColumn<int>("group");
        QTest::addColumn<int>("locks");
        const int none = 0;
        const int both = XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2;
        QTest::newRow("US, both locks") << QStringList{u"us"_s} << 0 << both;
        QTest::newRow("Persian of US and Persian") << QStringList{u"us,ir"_s} << 1 << none;
        QTest::newRow("Persian alone, both locks") << QStringList{u"ir"_s} << 0 << both;
        QTest::newRow("Dvorak of US and Dvorak") << QStringList{u"us,us"_s, u",dvorak"_s} << 1 << none;
        QTest::newRow("Control on CapsLock")
            << QStringList{u"us"_s, {}, u"-option"_s, u"ctrl:swapcaps"_s} << 0 << none;
    }

    void layoutsAndLocks() {
        QFETCH(QStringList, layout);
        QFETCH(int, group);
        QFETCH(int, locks);
        // Everybody is sent the new map before the keys that follow, but this side has to read it first.
        const auto setLayout = [this](const QStringList& wanted) {
            output(u"setxkbmap"_s, wanted);
            m_keyboard->queryInput();
            QEventLoop loop;
            QTimer::singleShot(0, &loop, &QEventLoop::quit);
            loop.exec();
        };
        setLayout(layout);
        m_keys->lock(locks, group);
        const auto text = paste();
        QTRY_VERIFY(editorIsModified());
        m_keys->lock(0, 0);
        setLayout({u"us"_s, u"-option"_s, {}});
        arrives(text);
        QVERIFY(!QGuiApplication::clipboard()->ownsSelection());
    }

    // The selection's owner is decided by time stamps, and a program without a window sees few.
    void afterAnotherProgramCopied() {
        for (int i = 0; i < 2; ++i) {
            Program copier(u"xclip"_s, {u"-i"_s, u"-selection"_s, u"clipboard"_s, u"-quiet"_s});
            copier.write("foreign");
            copier.closeWriteChannel();
            QTRY_VERIFY(!QGuiApplication::clipboard()->ownsClipboard());
            arrives(paste());
        }
    }

    void heldKeysAreWaitedFor_data() {
        QTest::addColumn<bool>("letGo");
        QTest::newRow("until they are let go") << true;
        QTest::newRow("not for ever") << false;
    }

    void heldKeysAreWaitedFor() {
        QFETCH(bool, letGo);
        X11HotKeyBackend backend(*m_keyboard);
        int releases = 0;
        const auto released = [&releases] {
            ++releases;
        };
        const auto hotKey =
            backend.registerHotKey({49, KeyCombination::option}, {.pressed = [] {}, .released = released});
        m_keys->press(keyAlt);
        m_keys->press(keySpace);
        // The clipboard holds the newer text when the keys are sent, once for both.
        paste();
        const auto text = paste();
        for (const auto key : {keyAlt, keySpace}) {
            QVERIFY(m_keys->isDown(key) && !m_keys->isDown(keyControl) && m_outcomes.isEmpty());
            if (letGo)
                m_keys->release(key);
        }
        arrives(text);
        QVERIFY(!m_keys->isDown(keyAlt) && !m_keys->isDown(keySpace));
        QCOMPARE(m_outcomes.size(), 2);
        QCOMPARE(releases, 1);
    }

    void terminalsGetTheSelection() {
        const auto received = m_folder.filePath(u"received"_s);
        const Program terminal(u"xterm"_s,
                               {u"-u8"_s, u"-e"_s, u"sh"_s, u"-c"_s, u"stty raw -echo; cat >"_s + received});
        QVERIFY(hasFocus("XTerm"));
        QTRY_VERIFY(QFile::exists(received));
        const auto text = paste().trimmed();
        QTRY_COMPARE(contentOf(received).trimmed(), text.toUtf8());
        QVERIFY(QGuiApplication::clipboard()->ownsClipboard());
    }
};

QTEST_MAIN(TestX11Paste)
#include "tst_x11paste.moc"
