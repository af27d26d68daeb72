#include "base/MainQueue.h"
#include "platform/x11/Struts.h"
#include "platform/x11/X11PanelHost.h"
#include "support/AccessibleTree.h"
#include "support/Command.h"
#include "ui/hud/RecordingHUD.h"
#include "ui/shell/ViewEngine.h"

#include <QApplication>
#include <QPainter>
#include <QQuickItem>
#include <QQuickView>
#include <QRasterWindow>
#include <QScreen>
#include <QTest>
#include <QToolTip>

using namespace Qt::StringLiterals;
using namespace tavrik;
using namespace tavrik::test;

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

void click(const QPoint& where) {
    output(u"xdotool mousemove %1 %2 click 1"_s.arg(where.x()).arg(where.y()));
}

void setWorkArea(const QString& property, const QString& values) {
    output(u"xprop -root -format %1 32c -set %1 %2"_s.arg(property, values));
}

constexpr QRect pill(560, 680, 160, 34);

} // namespace

class TestPanel : public QObject {
    Q_OBJECT

    MainQueue m_queue;
    X11PanelHost m_host;
    ViewEngine m_engine;
    RecordingHUD m_hud{m_host, m_queue, m_engine};
    int m_samples = 0;
    QStringList m_pressed;

    void show(float level = 0.3F) {
        const auto sample = [this, level] {
            ++m_samples;
            return level;
        };
        m_hud.show(sample, [this] { m_pressed << u"cancel"_s; }, [this] { m_pressed << u"confirm"_s; });
    }

    /// The middle of the panel where it comes up now.
    QPoint placed() {
        show();
        return panel()->geometry().center();
    }

    QQuickView* panel() {
        for (auto* window : QGuiApplication::topLevelWindows())
            if (auto* view = qobject_cast<QQuickView*>(window))
                return view;
        return nullptr;
    }

    QColor pixel(const QPoint& where) {
        return panel()->screen()->grabWindow(0, where.x(), where.y(), 1, 1).toImage().pixelColor(0, 0);
    }

private Q_SLOTS:
    void initTestCase() { QQuickWindow::setGraphicsApi(QSGRendererInterface::Software); }

    void strutsAreTakenFromTheirOwnScreen() {
        // Two screens side by side, the right one lower: the root window is 3200 by 1200.
        std::vector<Strut> struts{
            {0, 0, 0, 160, 0, 0, 0, 0, 0, 0, 0, 1919},    // below the left screen
            {0, 0, 0, 48, 0, 0, 0, 0, 0, 0, 1920, 3199},  // below the right one
            {0, 0, 206, 0, 0, 0, 0, 0, 1920, 3199, 0, 0}, // above it
            {1980, 0, 0, 0, 176, 1199, 0, 0, 0, 0, 0, 0}, // on its left side
            {0, 1340, 0, 0, 0, 0, 0, 1079, 0, 0, 0, 0},   // on the left screen's right side
        };
        struts.emplace_back().fill(0xffffffff);
        QCOMPARE(freeArea({0, 0, 1920, 1080}, {3200, 1200}, struts), QRect(0, 0, 1860, 1040));
        QCOMPARE(freeArea({1920, 176, 1280, 1024}, {3200, 1200}, struts), QRect(1980, 206, 1220, 946));
    }

    void followsTheLevelWhileItRecords() {
        for (const auto& [hides, level, barHeight] : {std::tuple(false, 0.2275F, 8), {true, 0.9F, 16}}) {
            show(level);
            QVERIFY(QTest::qWaitForWindowExposed(panel()));
            // The first bar stands 5 from the left of the meter's 84; its second column is wholly inside.
            const auto inside = panel()->rootObject()->property("pillRect").toRectF().toRect();
            const auto bar = [&] {
                const auto image = panel()->grabWindow();
                int height = 0;
                for (int y = inside.top(); y < inside.bottom(); ++y)
                    height += image.pixelColor(inside.x() + 44, y).lightness() > 128 ? 1 : 0;
                return height;
            };
            QVERIFY2(bar() < barHeight, qPrintable(QString::number(bar())));
            QTRY_COMPARE(bar(), barHeight);
            hides ? m_hud.hide() : m_hud.setProcessing();
            const int before = m_samples;
            QTest::qWait(200);
            QCOMPARE(m_samples, before);
            QCOMPARE(panel()->isVisible(), !hides);
        }
    }

    void clicksArriveAndPassThrough() {
        const auto focus = output(u"xdotool getwindowfocus"_s);
        Ground ground;
        QVERIFY(QTest::qWaitForWindowExposed(&ground));
        // The second time it was taken off the screen, and something else raised.
        for (int time = 1; time <= 2; ++time) {
            show();
            QVERIFY(QTest::qWaitForWindowExposed(panel()));
            // Beside, above and below the pill, and in the corner its round end leaves.
            for (const auto& outside : {QPoint(pill.left() - 10, 697), QPoint(640, pill.top() - 10),
                                        QPoint(640, pill.bottom() + 20), pill.topLeft() + QPoint(1, 1)})
                click(outside);
            QTRY_COMPARE(ground.clicks, 4 * time);
            for (const int x : {pill.center().x(), pill.right() - 17, pill.left() + 18})
                click({x, 697});
            QTRY_COMPARE(m_pressed, (QStringList{u"confirm"_s, u"cancel"_s}));
            QCOMPARE(ground.clicks, 4 * time);
            m_pressed.clear();
            m_hud.hide();
            QTRY_VERIFY(!panel()->isVisible());
            ground.raise();
        }
        QCOMPARE(output(u"xdotool getwindowfocus"_s), focus);

        show();
        QVERIFY(QTest::qWaitForWindowExposed(panel()));
        std::optional<MainQueue::Hold> alert(m_queue);
        // As a screen reader does in place of a click.
        AccessibleTree(*panel())
            .find(u"Cancel"_s)
            ->actionInterface()
            ->doAction(QAccessibleActionInterface::pressAction());
        QCoreApplication::processEvents();
        QVERIFY(m_pressed.isEmpty());
        alert.reset();
        QTRY_COMPARE(m_pressed, QStringList(u"cancel"_s));

        output(u"xdotool mousemove %1 697"_s.arg(pill.right() - 17));
        QTRY_VERIFY(QToolTip::isVisible());
        m_hud.hide();
        QTRY_VERIFY(!QToolTip::isVisible());
    }

    void itComesWhereTheUserTypes() {
        output(u"xdotool mousemove 1200 400"_s);
        output(u"xrandr --setmonitor left 640/100x800/100+0+0 screen"_s);
        output(u"xrandr --setmonitor right 640/100x800/100+640+0 none"_s);
        QTRY_COMPARE(QGuiApplication::screens().size(), 2);
        QProcess editor;
        editor.startCommand(u"xterm -geometry 40x10+100+100"_s);
        // The pointer is on the other screen.
        QTRY_COMPARE(placed().x(), 319);
        setWorkArea(u"_GTK_WORKAREAS_D0"_s, u"0,0,640,600,640,0,640,800"_s);
        QCOMPARE(placed(), QPoint(319, 500));
        editor.terminate();
        editor.waitForFinished();
        // Nobody types: where the pointer is.
        QTRY_COMPARE(placed(), QPoint(959, 700));
        output(u"xprop -root -remove _GTK_WORKAREAS_D0"_s);
        output(u"xrandr --delmonitor left"_s);
        output(u"xrandr --delmonitor right"_s);
        // The tray's bar is at the top.
        QTRY_COMPARE(placed(), QPoint(639, 700));
        setWorkArea(u"_NET_WORKAREA"_s, u"0,30,1280,600"_s);
        QCOMPARE(placed(), QPoint(639, 530));
        setWorkArea(u"_NET_WORKAREA"_s, u"0,30,1280,770"_s);
    }

    void withoutACompositor() {
        Ground ground;
        QVERIFY(QTest::qWaitForWindowExposed(&ground));
        const QPoint shadow(640, pill.bottom() + 8);
        show();
        QTRY_VERIFY(pixel(shadow).lightness() < 245);
        m_hud.hide();

        // The desktop is this test's own.
        output(u"sh -c \"kill $(cat $VDESK/pid/05-picom)\""_s);
        QTRY_VERIFY(!m_host.isTranslucent());
        show();
        QTRY_VERIFY(pixel(pill.topLeft() + QPoint(20, 2)).lightness() < 50);
        // What lies below is drawn anew once the compositor has gone.
        QTRY_COMPARE(pixel(pill.topLeft() + QPoint(1, 1)), QColor(Qt::white));
        QTRY_COMPARE(pixel(shadow), QColor(Qt::white));
    }
};

QTEST_MAIN(TestPanel)
#include "tst_panel.moc"
