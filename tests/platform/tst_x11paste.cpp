#include "base/MainQueue.h"
#include "capture/Paster.h"
#include "platform/XKeys.h"
#include "platform/qt/QtClipboard.h"
#include "platform/x11/X11HotKeyBackend.h"
#include "platform/x11/X11Keyboard.h"
#include "platform/x11/X11PasteKeys.h"
#include "support/Files.h"

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace tavrik;
using namespace tavrik::test;

namespace {

// A window of a program of its own, which ends with this.
class Window {
public:
    Window(X11Keyboard& keyboard, const QByteArray& windowClass, const QString& program,
           const QStringList& arguments) {
        m_process.start(program, arguments);
        m_focused =
            QTest::qWaitFor([&] { return keyboard.queryInput().focusedWindowClass.contains(windowClass); },
                            std::chrono::milliseconds(20000).count());
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    ~Window() {
        m_process.terminate();
        m_process.waitForFinished();
    }

    bool isFocused() const { return m_focused; }

private:
    QProcess m_process;
    bool m_focused = false;
};

} // namespace

/// The text as an editor of another process receives it.
class TestX11Paste : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();
    void layoutsAndLocks_data();
    void layoutsAndLocks();
    void afterAnotherProgramCopied();
    void heldKeysAreWaitedFor();
    void keysHeldForeverAreLetGo();
    void twoWhileWaitingAreOne();
    void terminalsGetTheSelection();

private:
    void paste(const QString& text) {
        m_paster->paste(text, [this](const Result<void>& outcome) { m_outcomes << outcome.has_value(); });
    }

    QString next() { return QStringLiteral("%1. Grüße, \"دنیا\" 👋\n").arg(++m_count); }

    bool editorIsModified() const {
        return output("xdotool", {"getactivewindow", "getwindowname"}).startsWith('*');
    }

    // Everybody is sent the new map before the keys that follow, but this side has to read it first.
    void setLayout(const QStringList& layout) {
        output("setxkbmap", layout);
        m_keyboard->queryInput();
        QEventLoop loop;
        QTimer::singleShot(0, &loop, &QEventLoop::quit);
        loop.exec();
    }

    // What the editor holds once it has something unsaved and nothing is in the way of its keys.
    QString savedText() {
        m_keys->chord(keyControl, keyS);
        return QTest::qWaitFor([this] { return !editorIsModified(); }) ? QString::fromUtf8(contentOf(m_file))
                                                                       : QString();
    }

    QTemporaryDir m_folder;
    const QString m_file = m_folder.filePath("text.txt");
    QString m_expected;
    int m_count = 0;
    std::unique_ptr<XKeys> m_keys;
    std::unique_ptr<X11Keyboard> m_keyboard;
    std::unique_ptr<Window> m_editor;
    MainQueue m_queue;
    QList<bool> m_outcomes;
    QtClipboard m_clipboard;
    std::unique_ptr<X11PasteKeys> m_pasteKeys;
    std::unique_ptr<Paster> m_paster;
};

void TestX11Paste::initTestCase() {
    output("setxkbmap", {"us"});
    QVERIFY(writeFile(m_file, {}));
    m_keys = std::make_unique<XKeys>();
    m_keyboard = std::make_unique<X11Keyboard>();
    m_editor = std::make_unique<Window>(*m_keyboard, "Mousepad", "mousepad",
                                        QStringList{"--disable-server", m_file});
    QVERIFY(m_editor->isFocused());
    QTRY_VERIFY(output("xdotool", {"getactivewindow", "getwindowname"}).contains("text.txt"));
}

void TestX11Paste::init() {
    m_pasteKeys = std::make_unique<X11PasteKeys>(*m_keyboard, [this] { m_clipboard.offerAsSelection(); });
    m_paster = std::make_unique<Paster>(m_clipboard, *m_pasteKeys, m_queue);
    QVERIFY(m_pasteKeys->status().works);
}

void TestX11Paste::cleanup() {
    for (const auto key : {keyAlt, keySpace, keyShift, keyControl, keySuper})
        m_keys->release(key);
}

void TestX11Paste::cleanupTestCase() {
    m_editor.reset();
}

void TestX11Paste::layoutsAndLocks_data() {
    QTest::addColumn<QStringList>("layout");
    QTest::addColumn<int>("group");
    QTest::addColumn<int>("locks");
    const int none = 0;
    const int both = XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2;
    QTest::newRow("US, CapsLock and NumLock") << QStringList{"us"} << 0 << both;
    QTest::newRow("Persian of US and Persian") << QStringList{"us,ir"} << 1 << none;
    QTest::newRow("Persian alone, CapsLock and NumLock") << QStringList{"ir"} << 0 << both;
    QTest::newRow("Dvorak of US and Dvorak") << QStringList{"us,us", ",dvorak"} << 1 << none;
    QTest::newRow("Control on CapsLock") << QStringList{"us", "", "-option", "ctrl:swapcaps"} << 0 << none;
}

void TestX11Paste::layoutsAndLocks() {
    QFETCH(QStringList, layout);
    QFETCH(int, group);
    QFETCH(int, locks);
    setLayout(layout);
    m_keys->lock(locks, group);
    const auto text = next();
    paste(text);
    QTRY_VERIFY(editorIsModified());
    m_keys->lock(0, 0);
    setLayout({"us", "-option", ""});
    m_expected += text;
    QCOMPARE(savedText(), m_expected);
    QVERIFY(!QGuiApplication::clipboard()->ownsSelection());
}

// The selection's owner is decided by time stamps, and a program without a window sees few.
void TestX11Paste::afterAnotherProgramCopied() {
    for (int i = 0; i < 3; ++i) {
        QProcess copier;
        copier.start("xclip", {"-i", "-selection", "clipboard", "-loops", "0", "-quiet"});
        copier.write("foreign");
        copier.closeWriteChannel();
        QTRY_VERIFY(!QGuiApplication::clipboard()->ownsClipboard());
        const auto text = next();
        paste(text);
        QTRY_VERIFY(editorIsModified());
        m_expected += text;
        QCOMPARE(savedText(), m_expected);
        copier.kill();
        copier.waitForFinished();
    }
}

void TestX11Paste::heldKeysAreWaitedFor() {
    X11HotKeyBackend backend(*m_keyboard);
    int releases = 0;
    const auto hotKey = backend.registerHotKey({49, KeyCombination::option}, {.pressed = [] {},
                                                                              .released =
                                                                                  [&] {
                                                                                      ++releases;
                                                                                  }});
    m_keys->press(keyAlt);
    m_keys->press(keySpace);
    const auto text = next();
    paste(text);
    for (const auto key : {keyAlt, keySpace}) {
        QVERIFY(!m_keys->isDown(keyControl));
        QVERIFY(m_keys->isDown(key));
        m_keys->release(key);
    }
    QTRY_VERIFY(editorIsModified());
    m_expected += text;
    QCOMPARE(savedText(), m_expected);
    QCOMPARE(releases, 1);
}

void TestX11Paste::keysHeldForeverAreLetGo() {
    X11HotKeyBackend backend(*m_keyboard);
    const auto hotKey = backend.registerHotKey({49, KeyCombination::option}, {.pressed = [] {},
                                                                              .released =
                                                                                  [] {
                                                                                  }});
    m_keys->press(keyAlt);
    m_keys->press(keySpace);
    const auto text = next();
    paste(text);
    QTRY_VERIFY(editorIsModified());
    QVERIFY(!m_keys->isDown(keyAlt) && !m_keys->isDown(keySpace));
    m_expected += text;
    QCOMPARE(savedText(), m_expected);
}

void TestX11Paste::twoWhileWaitingAreOne() {
    m_keys->press(keyAlt);
    paste(next());
    // Free again, but nobody has read that yet.
    m_keys->release(keyAlt);
    const auto text = next();
    paste(text);
    QTRY_VERIFY(editorIsModified());
    m_expected += text;
    QCOMPARE(savedText(), m_expected);
}

void TestX11Paste::terminalsGetTheSelection() {
    const auto received = m_folder.filePath("received");
    const Window terminal(*m_keyboard, "XTerm", "xterm",
                          {"-u8", "-e", "sh", "-c", "stty raw -echo; cat >" + received});
    QVERIFY(terminal.isFocused());
    QTRY_VERIFY(QFile::exists(received));
    const auto text = next().trimmed();
    paste(text);
    QTRY_COMPARE(contentOf(received), text.toUtf8());
    QVERIFY(QGuiApplication::clipboard()->ownsClipboard());
}

QTEST_MAIN(TestX11Paste)
#include "tst_x11paste.moc"
