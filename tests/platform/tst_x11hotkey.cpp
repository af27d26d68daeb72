#include "platform/XKeys.h"
#include "platform/linux/KeyCodes.h"
#include "platform/x11/X11HotKeyBackend.h"
#include "platform/x11/X11Keyboard.h"

#include <QAbstractEventDispatcher>
#include <QSignalSpy>
#include <QTest>

#include <X11/keysym.h>

#include <initializer_list>

using namespace Qt::StringLiterals;
using namespace tavrik;

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

    Registration add(KeyCombination combination) {
        return m_backend->registerHotKey(combination, {.pressed = [this] { m_log << m_once.front(); },
                                                       .released =
                                                           [this] {
                                                               m_log << m_once.back();
                                                           }});
    }

    // Changes the keyboard by a program, and waits until the change has been noticed.
    void change(const QString& program, const QStringList& arguments) {
        QSignalSpy changed(m_keyboard.get(), &X11Keyboard::keymapChanged);
        output(program, arguments);
        QTRY_VERIFY(!changed.isEmpty());
    }

private Q_SLOTS:
    void initTestCase() { output(u"setxkbmap"_s, {u"us"_s}); }

    void init() {
        m_log.clear();
        m_keys = std::make_unique<XKeys>();
        m_keyboard = std::make_unique<X11Keyboard>();
        m_backend = std::make_unique<X11HotKeyBackend>(*m_keyboard);
    }

    void cleanup() {
        m_keys->releaseAll();
        m_keys->lock(0, 0);
        m_backend.reset();
        m_keyboard.reset();
    }

    void keyCodesNameTheRightKeys() {
        QList<std::pair<quint32, quint32>> keys{
            {49, XK_space},      {36, XK_Return},     {48, XK_Tab},         {51, XK_BackSpace},
            {53, XK_Escape},     {117, XK_Delete},    {123, XK_Left},       {124, XK_Right},
            {125, XK_Down},      {126, XK_Up},        {50, XK_grave},       {10, XK_less},
            {27, XK_minus},      {24, XK_equal},      {33, XK_bracketleft}, {30, XK_bracketright},
            {42, XK_backslash},  {41, XK_semicolon},  {39, XK_apostrophe},  {43, XK_comma},
            {47, XK_period},     {44, XK_slash},      {114, XK_Insert},     {0x4c, XK_KP_Enter},
            {0x57, XK_KP_Begin}, {0x47, XK_Num_Lock}, {0x6e, XK_Menu},
        };
        const auto row = [&keys](quint32 first, std::initializer_list<quint32> codes) {
            for (const quint32 code : codes)
                keys.emplace_back(code, first++);
        };
        row(XK_a, {0x00, 0x0b, 0x08, 0x02, 0x0e, 0x03, 0x05, 0x04, 0x22, 0x26, 0x28, 0x25, 0x2e,
                   0x2d, 0x1f, 0x23, 0x0c, 0x0f, 0x01, 0x11, 0x20, 0x09, 0x0d, 0x07, 0x10, 0x06});
        row(XK_0, {0x1d, 0x12, 0x13, 0x14, 0x15, 0x17, 0x16, 0x1a, 0x1c, 0x19});
        row(XK_F1, {0x7a, 0x78, 0x63, 0x76, 0x60, 0x61, 0x62, 0x64, 0x65, 0x6d, 0x67, 0x6f});
        for (const auto& [code, keysym] : std::as_const(keys)) {
            const auto key = m_keyboard->keymap().keyFor(keysym, 0);
            QVERIFY2(key && evdevKeyCode(code).value_or(0) + 8 == *key, qPrintable(QString::number(code)));
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
        QCOMPARE(m_log, m_once);

        const auto all = add({0x7b, KeyCombination::control | KeyCombination::shift | KeyCombination::option |
                                        KeyCombination::command});
        for (const auto modifier : {keyControl, keyShift, keyAlt, keySuper})
            m_keys->press(modifier);
        m_keys->press(keyLeft);
        QTRY_COMPARE(m_log.size(), 3);
        m_keys->release(keyLeft);
        QTRY_COMPARE(m_log, m_once + m_once);
    }

    void aHeldKeyIsOnePressAndOneRelease() {
        output(u"xset"_s, {u"r"_s, u"rate"_s, u"150"_s, u"60"_s});
        const auto registration = add(altSpace);
        QSignalSpy repeats(m_keyboard.get(), &X11Keyboard::pressed);
        m_keys->press(keyAlt);
        m_keys->press(keySpace);
        QTRY_VERIFY(repeats.size() >= 12);
        QCOMPARE(m_log.size(), 1);
        m_keys->release(keyAlt);
        const auto before = repeats.size();
        QTRY_VERIFY(repeats.size() >= before + 3);
        m_keys->release(keySpace);
        QTRY_COMPARE(m_log, m_once);
    }

    void locksAndLayoutsDoNotMatter() {
        constexpr int bothLocks = XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2;
        const auto registration = add(altSpace);
        for (const auto& [layout, group, locks] :
             {std::tuple("us", 0, bothLocks), std::tuple("us,ir", 1, 0), std::tuple("ir", 0, bothLocks)}) {
            m_log.clear();
            output(u"setxkbmap"_s, {QLatin1String(layout)});
            m_keys->lock(locks, group);
            m_keys->chord(keyAlt, keySpace);
            QTRY_COMPARE(m_log.size(), 2);
            QCOMPARE(m_log, m_once);
        }
        change(u"setxkbmap"_s, {u"us"_s});
    }

    // Alt and NumLock leave their usual modifiers: the grab has to follow, and the locks must still not
    // matter.
    void modifiersMayMoveOnTheFly() {
        const auto registration = add(altSpace);
        change(u"xmodmap"_s, {u"-e"_s, u"clear mod1"_s, u"-e"_s, u"clear mod2"_s, u"-e"_s, u"clear mod3"_s,
                              u"-e"_s, u"add mod3 = Alt_L"_s, u"-e"_s, u"add mod1 = Num_Lock"_s});
        QTRY_VERIFY(!m_keys->grab(keySpace, XCB_MOD_MASK_3));
        m_keys->lock(XCB_MOD_MASK_1, 0);
        m_keys->chord(keyAlt, keySpace);
        QTRY_COMPARE(m_log, m_once);
        m_keys->lock(0, 0);
        change(u"setxkbmap"_s, {u"us"_s});
        QTRY_VERIFY(!m_keys->grab(keySpace, XCB_MOD_MASK_1));
    }

    void aTakenCombinationLeavesNothingBehind() {
        for (const int others : {int{XCB_MOD_MASK_1}, XCB_MOD_MASK_1 | XCB_MOD_MASK_LOCK}) {
            QVERIFY(m_keys->grab(keySpace, others));
            auto registration = add(altSpace);
            QVERIFY(registration->status().reason.contains(u"Another program"));
            for (const int mask :
                 {0, int{XCB_MOD_MASK_LOCK}, int{XCB_MOD_MASK_2}, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2})
                QTRY_VERIFY(m_keys->grab(keySpace, XCB_MOD_MASK_1 | mask));
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
        change(u"xmodmap"_s, {u"-e"_s, u"keycode 133 ="_s, u"-e"_s, u"keycode 134 ="_s});
        QTRY_COMPARE(changed.count(), 1);
        QVERIFY(!registration->status().works && !registration->status().reason.isEmpty());
        change(u"setxkbmap"_s, {u"us"_s});
        QTRY_COMPARE(changed.count(), 2);
        QCOMPARE(registration->status(), (ServiceStatus{m_backend->status().backend, true}));
    }

    void aDeadServerEndsTheHold() {
        QProcess server;
        server.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-noreset"_s});
        QTRY_VERIFY(server.canReadLine());
        const auto display = qgetenv("DISPLAY");
        qputenv("DISPLAY", ':' + server.readLine().trimmed());
        m_keys = std::make_unique<XKeys>();
        m_keyboard = std::make_unique<X11Keyboard>();
        qputenv("DISPLAY", display);
        m_backend = std::make_unique<X11HotKeyBackend>(*m_keyboard);
        const auto registration = add(altSpace);
        QSignalSpy changed(registration.get(), &Service::statusChanged);
        QVERIFY(registration->status().works && m_keyboard->canSynthesise());
        m_keys->press(keyAlt);
        m_keys->press(keySpace);
        QTRY_COMPARE(m_log.size(), 1);

        server.kill();
        QVERIFY(server.waitForFinished());
        QTRY_COMPARE(m_log, m_once);
        QCOMPARE(changed.count(), 1);
        QVERIFY(!registration->status().works && !m_backend->status().works && !m_keyboard->canSynthesise());
        QVERIFY(!add(altSpace)->status().works);
        QVERIFY(m_keyboard->queryInput().focusedWindowClass.isEmpty());
        m_keys = std::make_unique<XKeys>();

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
