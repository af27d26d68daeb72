#include "platform/XKeys.h"
#include "platform/linux/KeyCodes.h"
#include "platform/x11/X11HotKeyBackend.h"
#include "platform/x11/X11Keyboard.h"

#include <QAbstractEventDispatcher>
#include <QSet>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <X11/keysym.h>

#include <initializer_list>

using namespace tavrik;

namespace {

constexpr KeyCombination altSpace{49, KeyCombination::option};

} // namespace

/// Real keys on a real X server.
class TestX11HotKey : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void keyCodesNameTheRightKeys();
    void keyCodesAreDistinct();
    void combinationsFire_data();
    void combinationsFire();
    void onlyTheExactModifiersFire();
    void aHeldKeyIsOnePressAndOneRelease();
    void locksAndLayoutsDoNotMatter_data();
    void locksAndLayoutsDoNotMatter();
    void modifiersMayMoveOnTheFly();
    void aTakenCombinationLeavesNothingBehind_data();
    void aTakenCombinationLeavesNothingBehind();
    void withoutKeyOrModifierItIsUnavailable();
    void aDeadServerIsSurvived();

private:
    std::unique_ptr<HotKeyBackend::Registration> add(KeyCombination combination) {
        return m_backend->registerHotKey(combination, {.pressed = [this] { m_log << "press"; },
                                                       .released =
                                                           [this] {
                                                               m_log << "release";
                                                           }});
    }

    void hold(quint8 modifier, quint8 key) { m_keys->chord(modifier, key); }

    // Changes the keyboard by a program, and waits until the change has been noticed.
    void change(const QString& program, const QStringList& arguments) {
        QSignalSpy changed(m_keyboard.get(), &X11Keyboard::keymapChanged);
        output(program, arguments);
        QTRY_VERIFY(!changed.isEmpty());
    }

    const QStringList m_once{"press", "release"};
    QStringList m_log;
    std::unique_ptr<XKeys> m_keys;
    std::unique_ptr<X11Keyboard> m_keyboard;
    std::unique_ptr<X11HotKeyBackend> m_backend;
};

void TestX11HotKey::initTestCase() {
    output("setxkbmap", {"us"});
}

void TestX11HotKey::init() {
    m_log.clear();
    m_keys = std::make_unique<XKeys>();
    m_keyboard = std::make_unique<X11Keyboard>();
    m_backend = std::make_unique<X11HotKeyBackend>(*m_keyboard);
}

void TestX11HotKey::cleanup() {
    for (const auto key : {keyAlt, keySpace, keyShift, keyControl, keySuper})
        m_keys->release(key);
    m_keys->lock(0, 0);
    m_backend.reset();
    m_keyboard.reset();
    m_keys.reset();
}

void TestX11HotKey::keyCodesNameTheRightKeys() {
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
}

void TestX11HotKey::keyCodesAreDistinct() {
    QSet<quint8> seen;
    for (quint32 mac = 0; mac < 300; ++mac) {
        const auto evdev = evdevKeyCode(mac);
        if (!evdev)
            continue;
        QVERIFY2(!seen.contains(*evdev), qPrintable(QString::number(mac)));
        seen.insert(*evdev);
    }
}

void TestX11HotKey::combinationsFire_data() {
    QTest::addColumn<quint32>("keyCode");
    QTest::addColumn<quint32>("modifiers");
    QTest::addColumn<QList<int>>("held");
    QTest::addColumn<int>("key");
    QTest::newRow("F5") << 96u << 0u << QList<int>{} << 71;
    QTest::newRow("Control+Shift+V") << 9u << (KeyCombination::control | KeyCombination::shift)
                                     << QList<int>{keyControl, keyShift} << int{keyV};
    QTest::newRow("all four and an arrow") << 123u
                                           << (KeyCombination::control | KeyCombination::shift |
                                               KeyCombination::option | KeyCombination::command)
                                           << QList<int>{keyControl, keyShift, keyAlt, keySuper} << 113;
}

void TestX11HotKey::combinationsFire() {
    QFETCH(quint32, keyCode);
    QFETCH(quint32, modifiers);
    QFETCH(QList<int>, held);
    QFETCH(int, key);
    const auto registration = add({keyCode, modifiers});
    QVERIFY(registration->status().works);
    for (const auto modifier : held)
        m_keys->press(modifier);
    m_keys->press(key);
    QTRY_COMPARE(m_log, QStringList{"press"});
    m_keys->release(key);
    for (const auto modifier : held)
        m_keys->release(modifier);
    QTRY_COMPARE(m_log, m_once);
}

// What must not fire is followed by what must, so that its absence is seen rather than waited for.
void TestX11HotKey::onlyTheExactModifiersFire() {
    const auto registration = add(altSpace);
    m_keys->press(keyShift);
    hold(keyAlt, keySpace);
    m_keys->release(keyShift);
    hold(keyControl, keySpace);
    hold(keyAlt, keyV);
    hold(keyAlt, keySpace);
    QTRY_COMPARE(m_log.size(), 2);
    QCOMPARE(m_log, m_once);
}

void TestX11HotKey::aHeldKeyIsOnePressAndOneRelease() {
    output("xset", {"r", "rate", "150", "60"});
    const auto registration = add(altSpace);
    QSignalSpy repeats(m_keyboard.get(), &X11Keyboard::pressed);
    QSignalSpy releases(m_keyboard.get(), &X11Keyboard::released);
    m_keys->press(keyAlt);
    m_keys->press(keySpace);
    QTRY_VERIFY(repeats.size() >= 12);
    QCOMPARE(releases.size(), 0);
    m_keys->release(keyAlt);
    const auto before = repeats.size();
    QTRY_VERIFY(repeats.size() >= before + 3);
    m_keys->release(keySpace);
    QTRY_COMPARE(m_log.size(), 2);
    QCOMPARE(m_log, m_once);
    hold(keyAlt, keySpace);
    QTRY_COMPARE(m_log, m_once + m_once);
}

void TestX11HotKey::locksAndLayoutsDoNotMatter_data() {
    QTest::addColumn<QString>("layout");
    QTest::addColumn<int>("group");
    QTest::addColumn<int>("locks");
    QTest::newRow("both locks") << "us" << 0 << (XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2);
    QTest::newRow("Persian as the second layout") << "us,ir" << 1 << 0;
    QTest::newRow("Persian alone, both locks") << "ir" << 0 << (XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2);
}

void TestX11HotKey::locksAndLayoutsDoNotMatter() {
    QFETCH(QString, layout);
    QFETCH(int, group);
    QFETCH(int, locks);
    const auto registration = add(altSpace);
    change("setxkbmap", {layout});
    m_keys->lock(locks, group);
    hold(keyAlt, keySpace);
    QTRY_COMPARE(m_log.size(), 2);
    QCOMPARE(m_log, m_once);
    change("setxkbmap", {"us"});
}

// Alt and NumLock leave their usual modifiers: the grab has to follow, and the locks must still not matter.
void TestX11HotKey::modifiersMayMoveOnTheFly() {
    const auto registration = add(altSpace);
    change("xmodmap", {"-e", "clear mod1", "-e", "clear mod2", "-e", "clear mod3", "-e", "add mod3 = Alt_L",
                       "-e", "add mod1 = Num_Lock"});
    QTRY_COMPARE(m_keyboard->keymap().modifiersFor({XK_Alt_L}), XCB_MOD_MASK_3);
    QTRY_COMPARE(m_keyboard->keymap().numLock(), XCB_MOD_MASK_1);
    QTRY_VERIFY(!m_keys->grab(keySpace, XCB_MOD_MASK_3));
    QVERIFY(registration->status().works);
    m_keys->lock(XCB_MOD_MASK_1, 0);
    hold(keyAlt, keySpace);
    QTRY_COMPARE(m_log, m_once);
    m_keys->lock(0, 0);
    change("setxkbmap", {"us"});
    QTRY_VERIFY(!m_keys->grab(keySpace, XCB_MOD_MASK_1));
    hold(keyAlt, keySpace);
    QTRY_COMPARE(m_log, m_once + m_once);
}

void TestX11HotKey::aTakenCombinationLeavesNothingBehind_data() {
    QTest::addColumn<int>("others");
    QTest::newRow("plain") << int{XCB_MOD_MASK_1};
    QTest::newRow("with CapsLock only") << (XCB_MOD_MASK_1 | XCB_MOD_MASK_LOCK);
}

void TestX11HotKey::aTakenCombinationLeavesNothingBehind() {
    QFETCH(int, others);
    QVERIFY(m_keys->grab(keySpace, others));
    auto registration = add(altSpace);
    QVERIFY(registration->status().reason.contains("Another program"));
    for (const int mask :
         {0, int{XCB_MOD_MASK_LOCK}, int{XCB_MOD_MASK_2}, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2})
        QTRY_VERIFY(m_keys->grab(keySpace, XCB_MOD_MASK_1 | mask));
    hold(keyAlt, keySpace);

    m_keys->ungrab(keySpace, XCB_MOD_MASK_ANY);
    registration.reset();
    registration = add(altSpace);
    QVERIFY(registration->status().works);
    hold(keyAlt, keySpace);
    QTRY_COMPARE(m_log.size(), 2);
    QCOMPARE(m_log, m_once);
    registration.reset();
    QTRY_VERIFY(m_keys->grab(keySpace, others));
}

void TestX11HotKey::withoutKeyOrModifierItIsUnavailable() {
    QVERIFY(!add({0x34, KeyCombination::option})->status().works);
    change("xmodmap", {"-e", "keycode 133 =", "-e", "keycode 134 ="});
    QTRY_VERIFY(!add({49, KeyCombination::command})->status().works);
    change("setxkbmap", {"us"});
}

void TestX11HotKey::aDeadServerIsSurvived() {
    QProcess server;
    server.start("Xvfb", {"-displayfd", "1", "-screen", "0", "64x64x24", "-nolisten", "tcp", "-noreset"});
    QTRY_VERIFY(server.canReadLine());
    const auto display = qgetenv("DISPLAY");
    qputenv("DISPLAY", ':' + server.readLine().trimmed());
    X11Keyboard keyboard;
    qputenv("DISPLAY", display);
    X11HotKeyBackend backend(keyboard);
    const auto before = backend.registerHotKey(altSpace, {});
    QVERIFY(before->status().works);
    QVERIFY(keyboard.canSynthesise());

    server.kill();
    QVERIFY(server.waitForFinished());
    QTRY_VERIFY(!keyboard.canSynthesise());
    int turns = 0;
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, this, [&] { ++turns; });
    QEventLoop loop;
    QTimer::singleShot(300, &loop, &QEventLoop::quit);
    loop.exec();
    QVERIFY2(turns < 30, qPrintable(QString::number(turns)));

    QVERIFY(!backend.registerHotKey(altSpace, {})->status().works);
    QVERIFY(keyboard.queryInput().blockingKeys.none());
    QVERIFY(keyboard.queryInput().focusedWindowClass.isEmpty());
}

QTEST_GUILESS_MAIN(TestX11HotKey)
#include "tst_x11hotkey.moc"
