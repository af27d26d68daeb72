#include "base/MainQueue.h"
#include "capture/RecordingHUD.h"
#include "platform/XKeys.h"
#include "platform/x11/Struts.h"
#include "platform/x11/X11PanelHost.h"
#include "platform/x11/Xcb.h"
#include "quick/ViewEngine.h"

#include <QApplication>
#include <QFile>
#include <QPainter>
#include <QQuickWindow>
#include <QRasterWindow>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace tavrik;

namespace {

/// What the window manager and the X server say.
class Desktop {
public:
    xcb_window_t focused() const {
        const XcbPointer<xcb_get_input_focus_reply_t> reply(
            xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
        return reply->focus;
    }

    /// Those with an entry in task bars.
    std::vector<xcb_window_t> managed() const {
        const auto property = xcbAtom(m_connection, "_NET_CLIENT_LIST");
        const XcbPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            m_connection, xcb_get_property(m_connection, 0, m_root, property, XCB_ATOM_WINDOW, 0, 1000),
            nullptr));
        const auto* first = static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()));
        return {first, first + reply->value_len};
    }

    xcb_window_t topmost() const {
        const XcbPointer<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, m_root), nullptr));
        const auto count = xcb_query_tree_children_length(tree.get());
        for (int i = count - 1; i >= 0; --i) {
            const auto window = xcb_query_tree_children(tree.get())[i];
            const XcbPointer<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
                m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
            if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
                attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT)
                return window;
        }
        return XCB_WINDOW_NONE;
    }

private:
    xcb_connection_t* m_connection = applicationConnection();
    xcb_window_t m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
};

/// A program of its own that has the keyboard, and writes every key into a file.
class Editor {
public:
    Editor(Desktop& desktop, const QString& geometry) {
        const auto before = desktop.managed().size();
        m_process.start(QStringLiteral("xterm"),
                        {QStringLiteral("-geometry"), geometry, QStringLiteral("-e"), QStringLiteral("sh"),
                         QStringLiteral("-c"),
                         QStringLiteral("stty raw -echo; exec cat > '%1'").arg(file())});
        m_ready = QTest::qWaitFor([&] { return desktop.managed().size() > before && QFile::exists(file()); },
                                  20000);
    }
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;
    ~Editor() {
        m_process.terminate();
        m_process.waitForFinished();
    }

    bool isReady() const { return m_ready; }
    QByteArray typed() const {
        QFile opened(file());
        return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray();
    }

private:
    QString file() const { return m_folder.filePath(QStringLiteral("typed")); }

    QTemporaryDir m_folder;
    QProcess m_process;
    bool m_ready = false;
};

/// Counts the clicks on what lies below the panel.
class Ground : public QRasterWindow {
public:
    Ground() {
        setFlags(Qt::BypassWindowManagerHint | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
        setGeometry(400, 600, 480, 200);
    }
    int clicks = 0;

protected:
    void mousePressEvent(QMouseEvent*) override { ++clicks; }
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(QRect(QPoint(), size()), Qt::white); }
};

void click(const QPoint& where) {
    output(QStringLiteral("xdotool"),
           {QStringLiteral("mousemove"), QString::number(where.x()), QString::number(where.y()),
            QStringLiteral("click"), QStringLiteral("1")});
}

constexpr QRect pill(560, 680, 160, 34);
constexpr QPoint cancelButton(560 + 7 + 11, 697);
constexpr QPoint confirmButton(560 + 160 - 7 - 11, 697);

} // namespace

class TestPanel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QQuickWindow::setGraphicsApi(QSGRendererInterface::Software); }
    void init();
    void cleanup();
    void strutsAreTakenFromTheirOwnScreen_data();
    void strutsAreTakenFromTheirOwnScreen();
    void theEditorKeepsTheKeyboard();
    void clicksArriveAndPassThrough();
    void windowManagersLeaveItAlone();
    void itComesWhereTheUserTypes();
    void withoutACompositor();

private:
    void show() {
        m_hud->show([] { return 0.3F; }, [this] { m_pressed << QStringLiteral("cancel"); },
                    [this] { m_pressed << QStringLiteral("confirm"); });
    }
    QWindow* panel() {
        for (auto* window : QGuiApplication::topLevelWindows()) {
            if (qobject_cast<QQuickWindow*>(window))
                return window;
        }
        return nullptr;
    }
    QColor pixel(const QPoint& where) {
        return QGuiApplication::primaryScreen()
            ->grabWindow(0, where.x(), where.y(), 1, 1)
            .toImage()
            .pixelColor(0, 0);
    }

    Desktop m_desktop;
    MainQueue m_queue;
    X11PanelHost m_host;
    ViewEngine m_engine;
    std::optional<RecordingHUD> m_hud;
    QStringList m_pressed;
};

void TestPanel::init() {
    m_hud.emplace(m_host, m_queue, m_engine);
    m_pressed.clear();
}

void TestPanel::cleanup() {
    m_hud.reset();
}

void TestPanel::strutsAreTakenFromTheirOwnScreen_data() {
    QTest::addColumn<QRect>("screen");
    QTest::addColumn<QList<QList<int>>>("struts");
    QTest::addColumn<QRect>("expected");
    // Two screens side by side, the right one lower: the root window is 3200 by 1200.
    const QRect left(0, 0, 1920, 1080);
    const QRect right(1920, 176, 1280, 1024);
    const QList<int> bottomLeft{0, 0, 0, 160, 0, 0, 0, 0, 0, 0, 0, 1919};
    const QList<int> bottomRight{0, 0, 0, 48, 0, 0, 0, 0, 0, 0, 1920, 3199};
    const QList<int> topBoth{0, 0, 206, 0, 0, 0, 0, 0, 1920, 3199, 0, 0};
    const QList<int> leftOfRight{1980, 0, 0, 0, 176, 1199, 0, 0, 0, 0, 0, 0};
    const QList<int> rightOfLeft{0, 1340, 0, 0, 0, 0, 0, 1079, 0, 0, 0, 0};
    using Struts = QList<QList<int>>;
    QTest::newRow("none") << left << Struts() << left;
    QTest::newRow("bottom") << right << Struts{bottomRight} << QRect(1920, 176, 1280, 976);
    QTest::newRow("bottom of the other") << left << Struts{bottomRight} << left;
    QTest::newRow("bottom of the shorter") << left << Struts{bottomLeft} << QRect(0, 0, 1920, 1040);
    QTest::newRow("top") << right << Struts{topBoth} << QRect(1920, 206, 1280, 994);
    QTest::newRow("between, from the left") << right << Struts{leftOfRight} << QRect(1980, 176, 1220, 1024);
    QTest::newRow("between, seen from the left") << left << Struts{leftOfRight} << left;
    QTest::newRow("between, from the right") << left << Struts{rightOfLeft} << QRect(0, 0, 1860, 1080);
    QTest::newRow("several") << right << Struts{bottomRight, topBoth, leftOfRight}
                             << QRect(1980, 206, 1220, 946);
    QTest::newRow("nonsense") << left << Struts{QList<int>(12, -1)} << left;
}

void TestPanel::strutsAreTakenFromTheirOwnScreen() {
    QFETCH(QRect, screen);
    QFETCH(QList<QList<int>>, struts);
    QFETCH(QRect, expected);
    std::vector<Strut> raw;
    for (const auto& numbers : std::as_const(struts))
        std::ranges::copy(numbers, raw.emplace_back().begin());
    QCOMPARE(freeArea(screen, {3200, 1200}, raw), expected);
}

void TestPanel::theEditorKeepsTheKeyboard() {
    const Editor editor(m_desktop, QStringLiteral("40x10+100+100"));
    QVERIFY(editor.isReady());
    const auto focused = m_desktop.focused();
    XKeys keys;
    const auto type = [&] {
        keys.press(keyS);
        keys.release(keyS);
    };
    type();
    QTRY_COMPARE(editor.typed(), "s");

    show();
    QVERIFY(QTest::qWaitForWindowExposed(panel()));
    type();
    QTRY_COMPARE(editor.typed(), "ss");
    click(cancelButton);
    QTRY_COMPARE(m_pressed.size(), 1);
    QCOMPARE(m_desktop.focused(), focused);
    type();
    QTRY_COMPARE(editor.typed(), "sss");
    m_hud->setProcessing();
    m_hud->hide();
    type();
    QTRY_COMPARE(editor.typed(), "ssss");
    QCOMPARE(m_desktop.focused(), focused);
}

void TestPanel::clicksArriveAndPassThrough() {
    Ground ground;
    ground.show();
    QVERIFY(QTest::qWaitForWindowExposed(&ground));
    show();
    QVERIFY(QTest::qWaitForWindowExposed(panel()));

    int passed = 0;
    // Beside, above and below the pill, and in the corner its round end leaves.
    for (const auto& margin : {QPoint(pill.left() - 10, 697), QPoint(640, pill.top() - 10),
                               QPoint(640, pill.bottom() + 20), pill.topLeft() + QPoint(1, 1)}) {
        QVERIFY(panel()->geometry().contains(margin));
        click(margin);
        ++passed;
        QTRY_COMPARE(ground.clicks, passed);
    }
    QVERIFY(m_pressed.isEmpty());

    click(pill.center());
    click(confirmButton);
    QTRY_COMPARE(m_pressed, QStringList{QStringLiteral("confirm")});
    click(cancelButton);
    QTRY_COMPARE(m_pressed.size(), 2);
    QCOMPARE(m_pressed.last(), QStringLiteral("cancel"));
    QCOMPARE(ground.clicks, passed);

    // Shown again, it takes clicks again, and only where it did.
    m_hud->hide();
    show();
    click(cancelButton);
    QTRY_COMPARE(m_pressed.size(), 3);
    click(QPoint(640, pill.top() - 10));
    QTRY_COMPARE(ground.clicks, passed + 1);
}

void TestPanel::windowManagersLeaveItAlone() {
    show();
    QVERIFY(QTest::qWaitForWindowExposed(panel()));
    const auto id = static_cast<xcb_window_t>(panel()->winId());
    m_hud->hide();
    const Editor editor(m_desktop, QStringLiteral("300x80+0+0"));
    QVERIFY(editor.isReady());
    show();
    QTRY_COMPARE(m_desktop.topmost(), id);
    const auto managed = m_desktop.managed();
    QVERIFY(!managed.empty());
    QCOMPARE(std::ranges::count(managed, id), 0);
}

void TestPanel::itComesWhereTheUserTypes() {
    const auto monitors = [](const QStringList& arguments) {
        output(QStringLiteral("xrandr"), arguments);
    };
    output(QStringLiteral("xdotool"),
           {QStringLiteral("mousemove"), QStringLiteral("1200"), QStringLiteral("400")});
    monitors({QStringLiteral("--setmonitor"), QStringLiteral("left"), QStringLiteral("640/100x800/100+0+0"),
              QStringLiteral("screen")});
    monitors({QStringLiteral("--setmonitor"), QStringLiteral("right"),
              QStringLiteral("640/100x800/100+640+0"), QStringLiteral("none")});
    QTRY_COMPARE(QGuiApplication::screens().size(), 2);
    {
        const Editor editor(m_desktop, QStringLiteral("40x10+100+100"));
        QVERIFY(editor.isReady());
        show();
        // The pointer is on the other screen.
        QCOMPARE(panel()->geometry().center().x(), 319);
    }
    // Nobody types: where the pointer is.
    QTRY_COMPARE(m_host.visibleFrame()->left(), 640);
    show();
    QCOMPARE(panel()->geometry().center().x(), 959);
    monitors({QStringLiteral("--delmonitor"), QStringLiteral("left")});
    monitors({QStringLiteral("--delmonitor"), QStringLiteral("right")});
    // The tray's bar is at the top.
    QTRY_COMPARE(m_host.visibleFrame(), std::optional(QRect(0, 30, 1280, 770)));
    show();
    QCOMPARE(panel()->geometry().center(), QPoint(639, 700));
}

void TestPanel::withoutACompositor() {
    Ground ground;
    ground.show();
    QVERIFY(QTest::qWaitForWindowExposed(&ground));
    QVERIFY(m_host.isTranslucent());
    show();
    QVERIFY(QTest::qWaitForWindowExposed(panel()));
    const QPoint corner = pill.topLeft() + QPoint(1, 1);
    const QPoint inside(pill.left() + 20, pill.top() + 2);
    const QPoint shadow(640, pill.bottom() + 8);
    QTRY_VERIFY(pixel(inside).lightness() < 50);
    QVERIFY(pixel(shadow).lightness() < 245);
    m_hud->hide();

    // The desktop is this test's own.
    QFile file(qEnvironmentVariable("VDESK") + QStringLiteral("/pid/05-picom"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(::kill(file.readAll().trimmed().toInt(), SIGTERM), 0);
    QTRY_VERIFY(!m_host.isTranslucent());
    show();
    QTRY_VERIFY(pixel(inside).lightness() < 50);
    // What lies below is drawn anew once the compositor has gone.
    QTRY_COMPARE(pixel(corner), QColor(Qt::white));
    QTRY_COMPARE(pixel(shadow), QColor(Qt::white));
}

QTEST_MAIN(TestPanel)
#include "tst_panel.moc"
