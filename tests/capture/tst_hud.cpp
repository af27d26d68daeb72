#include "base/MainQueue.h"
#include "capture/RecordingHUD.h"
#include "platform/PanelHost.h"
#include "quick/ViewEngine.h"

#include <QAccessible>
#include <QApplication>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>

using namespace tavrik;

namespace {

class FakePanelHost : public PanelHost {
public:
    void adopt(QWindow& window) override { panel = static_cast<QQuickView*>(&window); }
    std::optional<QRect> visibleFrame() const override { return frame; }
    void setClickableArea(QWindow&, const QRegion& area) override { clickable = area; }
    bool isTranslucent() const override { return translucent; }

    QQuickView* panel = nullptr;
    std::optional<QRect> frame = QRect(0, 0, 1280, 800);
    QRegion clickable;
    bool translucent = true;
};

constexpr QRect pill(24, 24, 160, 34);
constexpr QPoint cancelButton(24 + 7 + 11, 24 + 17);
constexpr QPoint confirmButton(24 + 160 - 7 - 11, 24 + 17);

} // namespace

class TestHUD : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QQuickWindow::setGraphicsApi(QSGRendererInterface::Software); }
    void init();
    void cleanup();
    void pushScalesAndShifts_data();
    void pushScalesAndShifts();
    void pushIsAnnouncedTwice();
    void nothingIsMadeBeforeTheFirstShow();
    void placement_data();
    void placement();
    void onlyTheNewestProviderIsAsked();
    void samplingEnds_data();
    void samplingEnds();
    void showStartsAnew();
    void barsReachTheirHeights_data();
    void barsReachTheirHeights();
    void buttonsGoThroughTheQueue_data();
    void buttonsGoThroughTheQueue();
    void buttonsAreAccessible();
    void withoutACompositorTheWindowIsCut();

private:
    void show(float level = 0) {
        m_hud->show(
            [this, level] {
                ++m_samples;
                return level;
            },
            [this] { m_pressed << QStringLiteral("cancel"); },
            [this] { m_pressed << QStringLiteral("confirm"); });
    }
    HUDModel* model() { return m_host->panel->rootObject()->property("model").value<HUDModel*>(); }

    std::optional<MainQueue> m_queue;
    std::optional<FakePanelHost> m_host;
    ViewEngine m_engine;
    std::optional<RecordingHUD> m_hud;
    int m_samples = 0;
    QStringList m_pressed;
};

void TestHUD::init() {
    m_queue.emplace();
    m_host.emplace();
    m_hud.emplace(*m_host, *m_queue, m_engine);
    m_samples = 0;
    m_pressed.clear();
}

void TestHUD::cleanup() {
    m_hud.reset();
}

void TestHUD::pushScalesAndShifts_data() {
    QTest::addColumn<double>("level");
    QTest::addColumn<double>("drawn");
    QTest::newRow("silence") << 0.0 << 0.0;
    QTest::newRow("a fifth") << 0.2 << 0.44;
    QTest::newRow("just full") << 1 / 2.2 << 1.0;
    QTest::newRow("half is full") << 0.5 << 1.0;
    QTest::newRow("full") << 1.0 << 1.0;
}

void TestHUD::pushScalesAndShifts() {
    QFETCH(double, level);
    QFETCH(double, drawn);
    HUDModel model;
    model.push(0.1);
    model.push(level);
    const auto levels = model.levels();
    QCOMPARE(levels.size(), 14);
    QCOMPARE(levels.at(11), 0.0);
    QCOMPARE(levels.at(12), 0.22);
    QCOMPARE(levels.at(13), drawn);
    for (int i = 0; i < 13; ++i)
        model.push(1);
    QCOMPARE(model.levels().first(), drawn);
}

void TestHUD::pushIsAnnouncedTwice() {
    HUDModel model;
    QList<qsizetype> sizes;
    connect(&model, &HUDModel::levelsChanged, this, [&] { sizes << model.levels().size(); });
    model.push(0.3);
    QCOMPARE(sizes, (QList<qsizetype>{13, 14}));
}

void TestHUD::nothingIsMadeBeforeTheFirstShow() {
    m_hud->hide();
    m_hud->setProcessing();
    m_hud->hide();
    QCOMPARE(m_host->panel, nullptr);
    show();
    QVERIFY(m_host->panel->isVisible());
    QVERIFY(!model()->isProcessing());
    const auto* first = m_host->panel;
    m_hud->hide();
    QTRY_VERIFY(!first->isVisible());
    m_host->panel = nullptr;
    show();
    QVERIFY(first->isVisible());
    QCOMPARE(m_host->panel, nullptr);
    m_host->panel = const_cast<QQuickView*>(first);
}

void TestHUD::placement_data() {
    QTest::addColumn<QRect>("frame");
    QTest::addColumn<QPoint>("centre");
    // 72 below the panel, and half of its 62.
    QTest::newRow("whole screen") << QRect(0, 0, 1280, 800) << QPoint(640, 697);
    QTest::newRow("below a bar") << QRect(0, 30, 1280, 770) << QPoint(640, 697);
    QTest::newRow("above a dock") << QRect(0, 0, 1280, 740) << QPoint(640, 637);
    QTest::newRow("second screen") << QRect(1920, 200, 1080, 1920) << QPoint(2460, 2017);
}

void TestHUD::placement() {
    QFETCH(QRect, frame);
    QFETCH(QPoint, centre);
    m_host->frame = frame;
    show();
    const auto placed = pill.translated(m_host->panel->position());
    QCOMPARE(placed.topLeft() + QPoint(80, 17), centre);
    QCOMPARE(m_host->clickable.boundingRect(), pill);
    QVERIFY(!m_host->clickable.contains(pill.topLeft()));
    QVERIFY(m_host->clickable.contains(cancelButton));
    QVERIFY(m_host->clickable.contains(confirmButton));

    m_host->frame.reset();
    show();
    QCOMPARE(pill.translated(m_host->panel->position()), placed);
}

void TestHUD::onlyTheNewestProviderIsAsked() {
    show();
    QTRY_VERIFY(m_samples > 1);
    int newer = 0;
    m_hud->show([&newer] { return ++newer, 0.0F; }, [] {}, [] {});
    const int before = m_samples;
    QTRY_VERIFY(newer > 4);
    QCOMPARE(m_samples, before);
}

void TestHUD::samplingEnds_data() {
    QTest::addColumn<QString>("how");
    for (const auto* how : {"processing", "hidden", "gone"})
        QTest::newRow(how) << how;
}

void TestHUD::samplingEnds() {
    QFETCH(QString, how);
    show(0.3F);
    show(0.3F);
    QTRY_VERIFY(m_samples > 1);
    const auto levels = model()->levels();
    if (how == u"processing") {
        m_hud->setProcessing();
        QVERIFY(m_host->panel->isVisible());
        QCOMPARE(model()->levels(), levels);
    } else if (how == u"hidden") {
        m_hud->hide();
    } else {
        m_hud.reset();
    }
    const int before = m_samples;
    QTest::qWait(200);
    QCOMPARE(m_samples, before);
}

void TestHUD::showStartsAnew() {
    show(0.5F);
    QTRY_COMPARE(model()->levels(), QList<double>(14, 1.0));
    m_hud->setProcessing();
    m_hud->hide();
    const int before = m_samples;
    show();
    QVERIFY(!model()->isProcessing());
    QCOMPARE(model()->levels(), QList<double>(14, 0.0));
    QTRY_VERIFY(m_samples > before);
    QVERIFY(m_host->panel->isVisible());
}

void TestHUD::barsReachTheirHeights_data() {
    QTest::addColumn<float>("level");
    QTest::addColumn<double>("height");
    // The ends of a capsule take a little from its middle column.
    QTest::newRow("dot") << 0.0F << 2.5;
    QTest::newRow("some") << 0.2F << 7.04;
    QTest::newRow("full") << 0.5F << 16.0;
}

void TestHUD::barsReachTheirHeights() {
    QFETCH(float, level);
    QFETCH(double, height);
    show(level);
    QVERIFY(QTest::qWaitForWindowExposed(m_host->panel));
    // The first bar stands 5 from the left of the meter's 84; its second column is wholly inside.
    const int column = pill.x() + 7 + 22 + 9 + 5 + 1;
    const auto drawn = [&] {
        const auto image = m_host->panel->grabWindow();
        const double dark = image.pixelColor(column, pill.y() + 4).redF();
        const double light = dark + 0.92 * (1 - dark);
        double sum = 0;
        for (int y = pill.top() + 6; y < pill.bottom() - 6; ++y)
            sum += (image.pixelColor(column, y).redF() - dark) / (light - dark);
        return sum;
    };
    QTRY_VERIFY2(std::abs(drawn() - height) < 0.4, qPrintable(QString::number(drawn())));
}

void TestHUD::buttonsGoThroughTheQueue_data() {
    QTest::addColumn<QPoint>("where");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("cancel") << cancelButton << QStringList{QStringLiteral("cancel")};
    QTest::newRow("confirm") << confirmButton << QStringList{QStringLiteral("confirm")};
    QTest::newRow("between") << pill.center() << QStringList();
}

void TestHUD::buttonsGoThroughTheQueue() {
    QFETCH(QPoint, where);
    QFETCH(QStringList, expected);
    show();
    QVERIFY(QTest::qWaitForWindowExposed(m_host->panel));
    {
        const MainQueue::Hold alert(*m_queue);
        QTest::mouseClick(m_host->panel, Qt::LeftButton, {}, where);
        QCoreApplication::processEvents();
        QVERIFY(m_pressed.isEmpty());
    }
    QTest::qWait(0);
    QTRY_COMPARE(m_pressed, expected);

    // In the processing look they still work; whoever listens decides.
    m_hud->setProcessing();
    QTest::mouseClick(m_host->panel, Qt::LeftButton, {}, where);
    QTRY_COMPARE(m_pressed, expected + expected);
}

void TestHUD::buttonsAreAccessible() {
    QAccessible::setActive(true);
    show();
    QVERIFY(QTest::qWaitForWindowExposed(m_host->panel));
    QMap<QString, QAccessibleInterface*> buttons;
    QList<QAccessibleInterface*> open{QAccessible::queryAccessibleInterface(m_host->panel)};
    while (!open.isEmpty()) {
        auto* element = open.takeLast();
        for (int i = 0; i < element->childCount(); ++i)
            open << element->child(i);
        if (element->role() == QAccessible::Button)
            buttons[element->text(QAccessible::Name)] = element;
    }
    QCOMPARE(buttons.keys(), (QStringList{QStringLiteral("Cancel"), QStringLiteral("Finish and paste")}));
    for (auto* button : std::as_const(buttons))
        button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QTRY_COMPARE(m_pressed, (QStringList{QStringLiteral("cancel"), QStringLiteral("confirm")}));
}

void TestHUD::withoutACompositorTheWindowIsCut() {
    show();
    QVERIFY(m_host->panel->mask().isEmpty());
    m_hud->hide();
    m_host->translucent = false;
    show();
    QCOMPARE(m_host->panel->mask().boundingRect(), pill);
    QVERIFY(!m_host->panel->mask().contains(pill.topLeft()));
    // The corners are filled with the pill's own colour: the cut alone makes the shape.
    QVERIFY(QTest::qWaitForWindowExposed(m_host->panel));
    QTRY_COMPARE(m_host->panel->grabWindow().pixelColor(pill.topLeft()),
                 m_host->panel->grabWindow().pixelColor(pill.center().x(), pill.top() + 2));
}

QTEST_MAIN(TestHUD)
#include "tst_hud.moc"
