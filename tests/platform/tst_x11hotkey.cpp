#include "platform/XKeys.h"
#include "platform/linux/KeyCodes.h"
#include "platform/x11/X11HotKeyBackend.h"
#include "platform/x11/X11Keyboard.h"
#include "support/Command.h"

#include <QAbstractEventDispatcher>
#include <QSignalSpy>
#include <QTest>

#include <X11/keysym.h>

#include <functional>

using namespace Qt::StringLiterals;
using namespace tavrik;
using namespace tavrik::test;

/// Real keys on a real X server.
class TestX11HotKey : public QObject {
    Q_OBJECT

    using Registration = std::unique_ptr<HotKeyBackend::Registration>;

    static constexpr KeyCombination altSpace{49, KeyCombination::option};
    const QStringList m_once{u"press"_s, u"release"_s};
    QStringList m_log;
    std::unique_ptr<XKeys> m_keys;
    std::unique_ptr<X11Keyboard> m_keyboard;
    std::unique_ptr<X11HotKeyBackend> m_backend;

    void log(const QString& event) { m_log << event; }

    Registration add(KeyCombination combination) {
        return m_backend->registerHotKey(combination, PermissionRequest::once,
                                         {std::bind_front(&TestX11HotKey::log, this, u"press"_s),
                                          std::bind_front(&TestX11HotKey::log, this, u"release"_s), [] {
                                          }});
    }

    // Changes the keyboard by a program, and waits until the change has been noticed.
    void change(const QString& command) {
        QSignalSpy changed(m_keyboard.get(), &X11Keyboard::keymapChanged);
        output(command);
        QTRY_VERIFY(!changed.isEmpty());
    }

private Q_SLOTS:
    void init() {
        output(u"setxkbmap us"_s);
        m_log.clear();
        m_keys = std::make_unique<XKeys>();
        m_keyboard = std::make_unique<X11Keyboard>();
        m_backend = std::make_unique<X11HotKeyBackend>(*m_keyboard);
    }

    void cleanup() {
        m_keys->releaseAll();
        m_keys->lock(0, 0);
    }

    void keyCodesNameTheRightKeys() {
        // Neighbouring keysyms from the first on.
        const std::pair<quint32, QList<quint32>> rows[] = {
            {XK_space, {49}},
            {XK_apostrophe, {39}},
            {XK_comma, {43, 27, 47, 44, 0x1d, 0x12, 0x13, 0x14, 0x15, 0x17, 0x16, 0x1a, 0x1c, 0x19}},
            {XK_semicolon, {41, 10, 24}},
            {XK_bracketleft, {33, 42, 30}},
            {XK_grave, {50,   0x00, 0x0b, 0x08, 0x02, 0x0e, 0x03, 0x05, 0x04, 0x22, 0x26, 0x28, 0x25, 0x2e,
                        0x2d, 0x1f, 0x23, 0x0c, 0x0f, 0x01, 0x11, 0x20, 0x09, 0x0d, 0x07, 0x10, 0x06}},
            {XK_BackSpace, {51, 48}},
            {XK_Return, {36}},
            {XK_Escape, {53}},
            {XK_Left, {123, 126, 124, 125}},
            {XK_F1, {0x7a, 0x78, 0x63, 0x76, 0x60, 0x61, 0x62, 0x64, 0x65, 0x6d, 0x67, 0x6f}},
            {XK_Delete, {117}},
        };
        for (auto [keysym, codes] : rows)
            for (const auto code : codes) {
                const auto key = m_keyboard->keymap().keyFor(keysym++, 0);
                QVERIFY2(key && evdevKeyCode(code).value_or(0) + 8 == *key,
                         qPrintable(QString::number(code)));
            }
        for (quint32 code = 0; code < 300; ++code) {
            const auto evdev = evdevKeyCode(code);
            QVERIFY2(!evdev || macKeyCode(*evdev) == code, qPrintable(QString::number(code)));
        }
    }

    // What must not fire is followed by what must, so that its absence is seen rather than waited for.
    void onlyTheExactModifiersFire() {
        const auto registration = add(altSpace);
        m_keys->press(keyShift);
        m_keys->chord(keyAlt, keySpace);
        m_keys->release(keyShift);
        m_keys->chord(keyControl, keySpace);
        m_keys->chord(keyAlt, keyV);
        m_keys->chord(keyAlt, keySpace);
        QTRY_COMPARE(m_log.size(), 2);

        const auto all = add({0x7b, KeyCombination::control | KeyCombination::shift | KeyCombination::option |
                                        KeyCombination::command});
        for (const auto key : {keyControl, keyShift, keyAlt, keySuper, keyLeft})
            m_keys->press(key);
        m_keys->release(keyLeft);
        QTRY_COMPARE(m_log, m_once + m_once);
    }

    // The last row moves Alt and NumLock to other modifiers: the grab has to follow, and locks still must not
    // matter.
    void locksLayoutsAndMovedModifiersDoNotMatter() {
        constexpr int bothLocks = XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2;
        const auto registration = add(altSpace);
        for (const auto& [command, locks, group] :
             {std::tuple("setxkbmap us", bothLocks, 0),
              {"setxkbmap us,ir", 0, 1},
              {"setxkbmap ir", bothLocks, 0},
              {"xmodmap -e \"clear mod1\" -e \"clear mod2\" -e \"clear mod3\" -e \"add mod3 = Alt_L\" "
               "-e \"add mod1 = Num_Lock\"",
               int{XCB_MOD_MASK_1}, 0}}) {
            change(QString::fromUtf8(command));
            m_keys->lock(locks, group);
            m_log.clear();
            m_keys->chord(keyAlt, keySpace);
            QTRY_COMPARE(m_log, m_once);
        }
    }

    void aTakenCombinationLeavesNothingBehind() {
        for (const int others : {int{XCB_MOD_MASK_1}, XCB_MOD_MASK_1 | XCB_MOD_MASK_LOCK}) {
            QVERIFY(m_keys->grab(keySpace, others));
            auto registration = add(altSpace);
            QVERIFY(registration->status().reason.contains(u"Another program"));
            for (const int locks : {0, int{XCB_MOD_MASK_LOCK}, int{XCB_MOD_MASK_2}})
                QTRY_VERIFY(m_keys->grab(keySpace, XCB_MOD_MASK_1 | locks));
            m_keys->ungrab(keySpace, XCB_MOD_MASK_ANY);
            registration = add(altSpace);
            QVERIFY(registration->status().works);
            registration.reset();
            QTRY_VERIFY(m_keys->grab(keySpace, others));
            m_keys->ungrab(keySpace, XCB_MOD_MASK_ANY);
        }
    }

    void aKeyboardThatLacksTheModifierMayGetIt() {
        QVERIFY(!add({0x34, KeyCombination::option})->status().works);
        const auto registration = add({49, KeyCombination::command});
        QSignalSpy changed(registration.get(), &Service::statusChanged);
        change(u"xmodmap -e \"keycode 133 =\" -e \"keycode 134 =\""_s);
        QTRY_COMPARE(changed.count(), 1);
        QVERIFY(!registration->status().works && !registration->status().reason.isEmpty());
        change(u"setxkbmap us"_s);
        QTRY_COMPARE(changed.count(), 2);
        QCOMPARE(registration->status(), (ServiceStatus{m_backend->status().backend, true}));
    }

    void aDeadServerEndsTheHold() {
        const auto registration = add(altSpace);
        const QSignalSpy changed(registration.get(), &Service::statusChanged);
        QVERIFY(registration->status().works && m_keyboard->canSynthesise());
        m_keys->press(keyAlt);
        m_keys->press(keySpace);
        QTRY_COMPARE(m_log.size(), 1);

        // The desktop is this test's own.
        output(u"sh -c \"kill -9 $(cat $VDESK/pid/00-xvfb)\""_s);
        QTRY_COMPARE(m_log, m_once);
        QCOMPARE(changed.count(), 1);
        QVERIFY(!registration->status().works && !m_backend->status().works && !m_keyboard->canSynthesise());
        QVERIFY(!add(altSpace)->status().works);
        QVERIFY(m_keyboard->queryInput().focusedWindowClass.isEmpty());

        // And nothing spins.
        int turns = 0;
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, this,
                [&] { ++turns; });
        QTest::qWait(300);
        QVERIFY2(turns < 100, qPrintable(QString::number(turns)));
    }
};

QTEST_GUILESS_MAIN(TestX11HotKey)
#include "tst_x11hotkey.moc"
