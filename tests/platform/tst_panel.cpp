#include "base/MainQueue.h"
#include "platform/XKeys.h"
#include "platform/x11/Struts.h"
#include "platform/x11/X11PanelHost.h"
#include "support/AccessibleTree.h"
#include "ui/hud/RecordingHUD.h"
#include "ui/shell/ViewEngine.h"

#include <QApplication>
#include <QFile>
#include <QPainter>
#include <QQuickItem>
#include <QQuickView>
#include <QRasterWindow>
#include <QScreen>
#include <QTest>

#include <cmath>
#include <csignal>

using namespace Qt::StringLiterals;
using namespace tavrik;

namespace {

/// Counts the clicks on what lies below the panel.
class Ground : public QRasterWindow {
public:
    Ground() {
        setFlags(Qt::BypassWindowManagerHint | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
        setGeometry(400, 600, 480, 200);
        show();
    }
    int clicks = 0;

protected:
    void mousePressEvent(QMouseEvent*) override { ++clicks; }
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(QRect(QPoint(), size()), Qt::white); }
};

void xdotool(const QString& arguments) {
    output(u"xdotool"_s, arguments.split(u' '));
}

void click(const QPoint& where) {
    xdotool(u"mousemove %1 %2 click 1"_s.arg(where.x()).arg(where.y()));
}

constexpr QRect pill(560, 680, 160, 34);

} // namespace

class TestPanel : public QObject {
    Q_OBJECT

    MainQueue m_queue;
    X11PanelHost m_host;
    ViewEngine m_engine;
    std::optional<RecordingHUD> m_hud;
    int m_samples = 0;
    QStringList m_pressed;

    void show(float level = 0.3F) {
        m_hud->show(
            [this, level] {
                ++m_samples;
                return level;
            },
            [this] { m_pressed << u"cancel"_s; }, [this] { m_pressed << u"confirm"_s; });
    }

    /// The middle of the panel where it comes up now.
    QPoint placed() {
        show();
        return panel()->geometry().center();
    }

    QQuickView* panel() {
        for (auto* window : QGuiApplication::topLevelWindows()) {
            if (auto* view = qobject_cast<QQuickView*>(window))
                return view;
        }
        return nullptr;
    }

    QColor pixel(const QPoint& where) {
        auto* screen = QGuiApplication::primaryScreen();
        return screen->grabWindow(0, where.x(), where.y(), 1, 1).toImage().pixelColor(0, 0);
    }

private Q_SLOTS:
    void initTestCase() { QQuickWindow::setGraphicsApi(QSGRendererInterface::Software); }

    void init() {
        m_hud.emplace(m_host, m_queue, m_engine);
        m_pressed.clear();
    }

    void cleanup() { m_hud.reset(); }

    void strutsAreTakenFromTheirOwnScreen() {
        // Two screens side by side, the right one lower: the root window is 3200 by 1200.
        const QRect left(0, 0, 1920, 1080);
        const QRect right(1920, 176, 1280, 1024);
        const Strut bottomLeft{0, 0, 0, 160, 0, 0, 0, 0, 0, 0, 0, 1919};
        const Strut bottomRight{0, 0, 0, 48, 0, 0, 0, 0, 0, 0, 1920, 3199};
        const Strut topBoth{0, 0, 206, 0, 0, 0, 0, 0, 1920, 3199, 0, 0};
        const Strut leftOfRight{1980, 0, 0, 0, 176, 1199, 0, 0, 0, 0, 0, 0};
        const Strut rightOfLeft{0, 1340, 0, 0, 0, 0, 0, 1079, 0, 0, 0, 0};
        Strut nonsense;
        nonsense.fill(0xffffffff);
        const QSize root(3200, 1200);
        QCOMPARE(freeArea(right, root, {bottomRight}), QRect(1920, 176, 1280, 976));
        QCOMPARE(freeArea(left, root, {bottomLeft}), QRect(0, 0, 1920, 1040));
        QCOMPARE(freeArea(left, root, {leftOfRight, nonsense}), left);
        QCOMPARE(freeArea(left, root, {rightOfLeft}), QRect(0, 0, 1860, 1080));
        QCOMPARE(freeArea(right, root, {bottomRight, topBoth, leftOfRight}), QRect(1980, 206, 1220, 946));
    }

    void samplesWhileItRecords() {
        m_hud->setProcessing();
        m_hud->hide();
        QVERIFY(!panel());
        for (const bool hides : {false, true}) {
            show(0.9F);
            const auto* model = panel()->rootObject()->property("model").value<HUDModel*>();
            QVERIFY(panel()->isVisible() && !model->isProcessing());
            QCOMPARE(model->levels(), QList<double>(14, 0.0));
            m_samples = 0;
            QTRY_VERIFY(m_samples > 1);
            QCOMPARE(model->levels().last(), 1.0);
            hides ? m_hud->hide() : m_hud->setProcessing();
            const int before = m_samples;
            QTest::qWait(200);
            QCOMPARE(m_samples, before);
            QCOMPARE(panel()->isVisible(), !hides);
        }
    }

    void barsReachTheirHeights() {
        show(0.2F);
        QVERIFY(QTest::qWaitForWindowExposed(panel()));
        // The first bar stands 5 from the left of the meter's 84; its second column is wholly inside.
        const auto inside = panel()->rootObject()->property("pillRect").toRectF().toRect();
        const int column = inside.x() + 7 + 22 + 9 + 5 + 1;
        const auto drawn = [&] {
            const auto image = panel()->grabWindow();
            const double dark = image.pixelColor(column, inside.y() + 4).redF();
            const double light = dark + 0.92 * (1 - dark);
            double sum = 0;
            for (int y = inside.top() + 6; y < inside.bottom() - 6; ++y)
                sum += (image.pixelColor(column, y).redF() - dark) / (light - dark);
            return sum;
        };
        QTRY_VERIFY2(std::abs(drawn() - 0.2 * 2.2 * 16) < 0.4, qPrintable(QString::number(drawn())));
    }

    void clicksArriveAndPassThrough() {
        const auto focus = output(u"xdotool"_s, {u"getwindowfocus"_s});
        Ground ground;
        QVERIFY(QTest::qWaitForWindowExposed(&ground));
        // The second time it was taken off the screen, and something else raised.
        for (int time = 1; time <= 2; ++time) {
            show();
            QVERIFY(QTest::qWaitForWindowExposed(panel()));
            // Beside, above and below the pill, and in the corner its round end leaves.
            for (const auto& outside : {QPoint(pill.left() - 10, 697), QPoint(640, pill.top() - 10),
                                        QPoint(640, pill.bottom() + 20), pill.topLeft() + QPoint(1, 1)}) {
                QVERIFY(panel()->geometry().contains(outside));
                click(outside);
            }
            QTRY_COMPARE(ground.clicks, 4 * time);
            click(pill.center());
            click({pill.right() - 17, 697});
            click({pill.left() + 18, 697});
            QTRY_COMPARE(m_pressed, (QStringList{u"confirm"_s, u"cancel"_s}));
            QCOMPARE(ground.clicks, 4 * time);
            m_pressed.clear();
            m_hud->hide();
            QTRY_VERIFY(!panel()->isVisible());
            ground.raise();
        }
        QCOMPARE(output(u"xdotool"_s, {u"getwindowfocus"_s}), focus);

        show();
        QVERIFY(QTest::qWaitForWindowExposed(panel()));
        const test::AccessibleTree tree(*panel());
        std::optional<MainQueue::Hold> alert(m_queue);
        tree.press(u"Cancel"_s);
        QCoreApplication::processEvents();
        QVERIFY(m_pressed.isEmpty());
        alert.reset();
        QTRY_COMPARE(m_pressed, QStringList(u"cancel"_s));
    }

    void itComesWhereTheUserTypes() {
        const auto monitors = [](const QString& arguments) {
            output(u"xrandr"_s, arguments.split(u' '));
        };
        xdotool(u"mousemove 1200 400"_s);
        monitors(u"--setmonitor left 640/100x800/100+0+0 screen"_s);
        monitors(u"--setmonitor right 640/100x800/100+640+0 none"_s);
        QTRY_COMPARE(QGuiApplication::screens().size(), 2);
        QProcess editor;
        editor.start(u"xterm"_s, {u"-geometry"_s, u"40x10+100+100"_s});
        // The pointer is on the other screen.
        QTRY_COMPARE(placed().x(), 319);
        editor.terminate();
        editor.waitForFinished();
        // Nobody types: where the pointer is.
        QTRY_COMPARE(placed().x(), 959);
        monitors(u"--delmonitor left"_s);
        monitors(u"--delmonitor right"_s);
        // The tray's bar is at the top.
        QTRY_COMPARE(placed(), QPoint(639, 700));
    }

    void withoutACompositor() {
        Ground ground;
        QVERIFY(QTest::qWaitForWindowExposed(&ground));
        const QPoint corner = pill.topLeft() + QPoint(1, 1);
        const QPoint inside(pill.left() + 20, pill.top() + 2);
        const QPoint shadow(640, pill.bottom() + 8);
        QVERIFY(m_host.isTranslucent());
        show();
        QTRY_VERIFY(pixel(inside).lightness() < 50);
        QVERIFY(pixel(shadow).lightness() < 245);
        m_hud->hide();

        // The desktop is this test's own.
        QFile file(qEnvironmentVariable("VDESK") + u"/pid/05-picom"_s);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(::kill(file.readAll().trimmed().toInt(), SIGTERM), 0);
        QTRY_VERIFY(!m_host.isTranslucent());
        show();
        QTRY_VERIFY(pixel(inside).lightness() < 50);
        // What lies below is drawn anew once the compositor has gone.
        QTRY_COMPARE(pixel(corner), QColor(Qt::white));
        QTRY_COMPARE(pixel(shadow), QColor(Qt::white));
    }
};

QTEST_MAIN(TestPanel)
#include "tst_panel.moc"
