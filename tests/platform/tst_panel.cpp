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

using namespace tavrik;

namespace {

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
    void showStartsAnew();
    void samplingEnds_data();
    void samplingEnds();
    void barsReachTheirHeights();
    void buttonsAreAccessible();
    void clicksArriveAndPassThrough();
    void itComesWhereTheUserTypes();
    void withoutACompositor();

private:
    void show(float level = 0.3F) {
        m_hud->show(
            [this, level] {
                ++m_samples;
                return level;
            },
            [this] { m_pressed << QStringLiteral("cancel"); },
            [this] { m_pressed << QStringLiteral("confirm"); });
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
    HUDModel* model() { return panel()->rootObject()->property("model").value<HUDModel*>(); }
    QColor pixel(const QPoint& where) {
        return QGuiApplication::primaryScreen()
            ->grabWindow(0, where.x(), where.y(), 1, 1)
            .toImage()
            .pixelColor(0, 0);
    }

    MainQueue m_queue;
    X11PanelHost m_host;
    ViewEngine m_engine;
    std::optional<RecordingHUD> m_hud;
    int m_samples = 0;
    QStringList m_pressed;
};

void TestPanel::init() {
    m_hud.emplace(m_host, m_queue, m_engine);
    m_samples = 0;
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
    QTest::newRow("bottom") << right << Struts{bottomRight} << QRect(1920, 176, 1280, 976);
    QTest::newRow("bottom of the shorter") << left << Struts{bottomLeft} << QRect(0, 0, 1920, 1040);
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

void TestPanel::showStartsAnew() {
    m_hud->setProcessing();
    m_hud->hide();
    QVERIFY(!panel());
    show(0.2F);
    QTRY_COMPARE(model()->levels(), QList<double>(14, 0.2F * 2.2));
    m_hud->setProcessing();
    m_hud->hide();
    const int before = m_samples;
    show(0.9F);
    QVERIFY(!model()->isProcessing());
    QCOMPARE(model()->levels(), QList<double>(14, 0.0));
    QTRY_VERIFY(m_samples > before);
    QVERIFY(panel()->isVisible());
    QCOMPARE(model()->levels().last(), 1.0);
}

void TestPanel::samplingEnds_data() {
    QTest::addColumn<bool>("hidden");
    QTest::newRow("processing") << false;
    QTest::newRow("hidden") << true;
}

void TestPanel::samplingEnds() {
    QFETCH(bool, hidden);
    show();
    QTRY_VERIFY(m_samples > 1);
    hidden ? m_hud->hide() : m_hud->setProcessing();
    const int before = m_samples;
    QTest::qWait(200);
    QCOMPARE(m_samples, before);
    QCOMPARE(panel()->isVisible(), !hidden);
}

void TestPanel::barsReachTheirHeights() {
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

void TestPanel::buttonsAreAccessible() {
    show();
    QVERIFY(QTest::qWaitForWindowExposed(panel()));
    const test::AccessibleTree tree(*panel());
    {
        const MainQueue::Hold alert(m_queue);
        tree.press(QStringLiteral("Cancel"));
        tree.press(QStringLiteral("Finish and paste"));
        QCoreApplication::processEvents();
        QVERIFY(m_pressed.isEmpty());
    }
    QTRY_COMPARE(m_pressed, (QStringList{QStringLiteral("cancel"), QStringLiteral("confirm")}));
}

void TestPanel::clicksArriveAndPassThrough() {
    const auto focus = [] {
        return output(QStringLiteral("xdotool"), {QStringLiteral("getwindowfocus")});
    };
    const auto before = focus();
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

    // Shown again, it is above the rest and takes clicks again, and only where it did.
    m_hud->hide();
    QTRY_VERIFY(!panel()->isVisible());
    ground.raise();
    show();
    QCoreApplication::processEvents(); // sends it
    click(cancelButton);
    QTRY_COMPARE(m_pressed.size(), 3);
    click(QPoint(640, pill.top() - 10));
    QTRY_COMPARE(ground.clicks, passed + 1);
    QCOMPARE(focus(), before);
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
        QProcess editor;
        const auto close = qScopeGuard([&] {
            editor.terminate();
            editor.waitForFinished();
        });
        editor.start(QStringLiteral("xterm"), {QStringLiteral("-geometry"), QStringLiteral("40x10+100+100")});
        // The pointer is on the other screen.
        QTRY_COMPARE(placed().x(), 319);
    }
    // Nobody types: where the pointer is.
    QTRY_COMPARE(placed().x(), 959);
    monitors({QStringLiteral("--delmonitor"), QStringLiteral("left")});
    monitors({QStringLiteral("--delmonitor"), QStringLiteral("right")});
    // The tray's bar is at the top.
    QTRY_COMPARE(placed(), QPoint(639, 700));
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
