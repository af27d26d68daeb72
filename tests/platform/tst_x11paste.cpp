#include "base/MainQueue.h"
#include "capture/Paster.h"
#include "platform/XKeys.h"
#include "platform/qt/QtClipboard.h"
#include "platform/x11/X11HotKeyBackend.h"
#include "platform/x11/X11Keyboard.h"
#include "platform/x11/X11PasteKeys.h"
#include "support/Command.h"
#include "support/Files.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace tavrik;
using namespace tavrik::test;

namespace {

/// A program that ends with this.
struct Program : QProcess {
    explicit Program(const QString& command) { startCommand(command); }
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

    static QByteArray title() { return output(u"xdotool getactivewindow getwindowname"_s); }
    static bool editorIsModified() { return title().startsWith('*'); }

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
        QCOMPARE(m_outcomes.count(u"pasted"_s), m_outcomes.size());
    }

private Q_SLOTS:
    void initTestCase() {
        output(u"setxkbmap us"_s);
        QVERIFY(writeFile(m_file, {}));
        m_keys = std::make_unique<XKeys>();
        m_keyboard = std::make_unique<X11Keyboard>();
        m_editor = std::make_unique<Program>(u"mousepad --disable-server "_s + m_file);
        QVERIFY(QTest::qWaitFor([] { return title().contains("text.txt"); }, 20000));
    }

    void init() {
        m_outcomes.clear();
        m_pasteKeys = std::make_unique<X11PasteKeys>(*m_keyboard, [this] { m_clipboard.offerAsSelection(); });
    }

    void cleanup() { m_keys->releaseAll(); }

    void layoutsAndLocks() {
        constexpr int both = XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2;
        // Everybody is sent the new map before the keys that follow, but this side has to read it first.
        const auto setLayout = [this](const char* layout) {
            const QSignalSpy changed(m_keyboard.get(), &X11Keyboard::keymapChanged);
            output(u"setxkbmap "_s + QLatin1String(layout));
            QTRY_VERIFY2(!changed.isEmpty(), layout);
        };
        for (const auto& [layout, group, locks] : {std::tuple("us", 0, both),
                                                   {"us,ir", 1, 0},
                                                   {"ir", 0, both},
                                                   {"us,us ,dvorak", 1, 0},
                                                   {"us -option ctrl:swapcaps", 0, 0}}) {
            setLayout(layout);
            m_keys->lock(locks, group);
            // The selection's owner is decided by time stamps, and a program without a window sees few: this
            // one comes with the news of the other's copy.
            const QSignalSpy copied(QGuiApplication::clipboard(), &QClipboard::dataChanged);
            const Program copier(u"sh -c \"echo foreign | xclip -selection clipboard -quiet\""_s);
            QTRY_VERIFY2(!copied.isEmpty(), layout);
            QCOMPARE(QGuiApplication::clipboard()->text(), u"foreign\n"_s);
            const auto text = paste();
            QTRY_VERIFY2(editorIsModified(), layout);
            m_keys->lock(0, 0);
            setLayout("us -option");
            arrives(text);
            QVERIFY2(!QGuiApplication::clipboard()->ownsSelection(), layout);
        }
    }

    // Until they are let go, but not for ever.
    void heldKeysAreWaitedFor() {
        X11HotKeyBackend backend(*m_keyboard);
        int releases = 0;
        const auto released = [&releases] {
            ++releases;
        };
        const auto hotKey = backend.registerHotKey({49, KeyCombination::option}, PermissionRequest::once,
                                                   {[] {}, released,
                                                    [] {
                                                    }});
        for (const bool letGo : {true, false}) {
            m_outcomes.clear();
            releases = 0;
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
            QTRY_COMPARE(releases, 1);
        }
    }

    void terminalsGetTheSelection() {
        const auto received = m_folder.filePath(u"received"_s);
        const Program terminal(u"xterm -u8 -e sh -c \"stty raw -echo; cat >%1\""_s.arg(received));
        QTRY_VERIFY(m_keyboard->queryInput().focusedWindowClass.contains("XTerm"));
        QTRY_VERIFY(QFile::exists(received));
        const auto text = paste();
        // A line break would run it as a command.
        QTRY_COMPARE(contentOf(received), text.chopped(1).toUtf8() + ' ');
        QCOMPARE(QGuiApplication::clipboard()->text(), text);
    }
};

QTEST_MAIN(TestX11Paste)
#include "tst_x11paste.moc"
