#include "platform/XKeys.h"
#include "platform/linux/TrayStatusItem.h"
#include "platform/x11/XEmbedTray.h"

#include <QApplication>
#include <QMenu>
#include <QScreen>
#include <QTest>

using namespace tavrik;

namespace {

const QColor lit(0xf2, 0xa3, 0x3c);

/// Where the bar shows the colour.
std::optional<QPoint> find(const QColor& colour) {
    const auto bar = QGuiApplication::primaryScreen()->grabWindow(0, 0, 0, 1280, 30).toImage();
    for (int y = 0; y < bar.height(); ++y) {
        for (int x = 0; x < bar.width(); ++x) {
            if (bar.pixelColor(x, y) == colour)
                return QPoint(x, y);
        }
    }
    return std::nullopt;
}

QMenu* openMenu() {
    return qobject_cast<QMenu*>(QApplication::activePopupWidget());
}

/// Clicks on the icon. The bar lays its icons out anew at times, and a click then falls beside: like a
/// person, it tries a second time.
bool menuOpensOn(const QString& button) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!QTest::qWaitFor([] { return find(lit).has_value(); }))
            return false;
        const auto where = *find(lit);
        output(QStringLiteral("xdotool"), {QStringLiteral("mousemove"), QString::number(where.x()),
                                           QString::number(where.y()), QStringLiteral("click"), button});
        if (QTest::qWaitFor([] { return openMenu() != nullptr; }))
            return true;
    }
    return false;
}

} // namespace

/// With a bar that embeds icons.
class TestTray : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void aClickOpensTheMenu();
    void shortcutsWorkInTheMenu();
    void theSymbolIsShown();

private:
    // One for all, as in the program: the bar takes its time to embed an icon.
    std::optional<TrayStatusItem> m_item;
    int m_opened = 0;
};

void TestTray::initTestCase() {
    // Nobody clicks as fast as these tests.
    QApplication::setDoubleClickInterval(0);
    m_item.emplace(&hasXEmbedTray);
    m_item->setImage(QStringLiteral("mic.fill"), QStringLiteral("Tavrik recording"));
    m_item->setMenu({
        {.kind = MenuItem::Kind::label, .title = QStringLiteral("Hold A & B")},
        {.kind = MenuItem::Kind::separator},
        {.title = QStringLiteral("Open"),
         .keyEquivalent = QStringLiteral("o"),
         .action =
             [this] {
                 ++m_opened;
             }},
        {.title = QStringLiteral("Not yet"), .keyEquivalent = QStringLiteral("n")},
    });
}

void TestTray::init() {
    // Off the icon, so that no tooltip lies over it.
    output(QStringLiteral("xdotool"),
           {QStringLiteral("mousemove"), QStringLiteral("300"), QStringLiteral("400")});
}

void TestTray::aClickOpensTheMenu() {
    QVERIFY(menuOpensOn(QStringLiteral("1")));
    QStringList rows;
    for (const auto* action : openMenu()->actions())
        rows << (action->isSeparator() ? QStringLiteral("-") : action->text()) +
                    (action->isEnabled() ? QString() : QStringLiteral(" (disabled)"));
    QCOMPARE(rows, (QStringList{QStringLiteral("Hold A && B (disabled)"), QStringLiteral("-"),
                                QStringLiteral("Open"), QStringLiteral("Not yet (disabled)")}));
    QTest::mouseClick(openMenu(), Qt::LeftButton, {},
                      openMenu()->actionGeometry(openMenu()->actions().at(2)).center());
    QCOMPARE(m_opened, 1);
    QTRY_VERIFY(!openMenu());
}

void TestTray::shortcutsWorkInTheMenu() {
    QVERIFY(menuOpensOn(QStringLiteral("3")));
    QTest::keyClick(openMenu(), Qt::Key_N, Qt::ControlModifier);
    QVERIFY(openMenu());
    QTest::keyClick(openMenu(), Qt::Key_O, Qt::ControlModifier);
    QCOMPARE(m_opened, 2);
    QVERIFY(!openMenu());
}

void TestTray::theSymbolIsShown() {
    QTRY_VERIFY(find(lit));
    m_item->setImage(QStringLiteral("mic"), QStringLiteral("Tavrik idle"));
    QTRY_VERIFY(!find(lit));
    QTRY_VERIFY(find(Qt::white));
    m_item.reset();
    QTRY_VERIFY(!find(QColor(0x17, 0x17, 0x1a)));
}

QTEST_MAIN(TestTray)
#include "tst_tray.moc"
