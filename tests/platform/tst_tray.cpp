#include "platform/XKeys.h"
#include "platform/linux/TrayStatusItem.h"
#include "platform/x11/XEmbedTray.h"

#include <QApplication>
#include <QMenu>
#include <QScreen>
#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;

namespace {

const QColor lit(0xf2, 0xa3, 0x3c);

/// Where the bar shows the colour.
std::optional<QPoint> find(const QColor& colour) {
    const auto bar = QGuiApplication::primaryScreen()->grabWindow(0, 0, 0, 1280, 30).toImage();
    for (int i = 0; i < bar.width() * bar.height(); ++i) {
        if (const QPoint at(i % bar.width(), i / bar.width()); bar.pixelColor(at) == colour)
            return at;
    }
    return std::nullopt;
}

void pointer(QPoint to, const QString& then = {}) {
    output(u"xdotool mousemove %1 %2 %3"_s.arg(to.x()).arg(to.y()).arg(then));
}

QMenu* openMenu() {
    return qobject_cast<QMenu*>(QApplication::activePopupWidget());
}

/// Clicks on the icon, once it rests: the bar lays its icons out anew at times.
bool menuOpensOn(const QString& click) {
    // Off the icon, so that no tooltip lies over it.
    pointer({300, 400});
    const auto rests = [] {
        const auto before = find(lit);
        QTest::qWait(300);
        return before && before == find(lit);
    };
    if (!QTest::qWaitFor(rests))
        return false;
    pointer(*find(lit), click);
    return QTest::qWaitFor([] { return openMenu() != nullptr; });
}

} // namespace

/// With a bar that embeds icons.
class TestTray : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void menuAndSymbol() {
        // The clicks are not to be taken for a double click.
        QApplication::setDoubleClickInterval(0);
        int opened = 0;
        std::optional<TrayStatusItem> item(&hasXEmbedTray);
        item->setImage(u"mic.fill"_s, u"Tavrik recording"_s);
        const auto open = [&] {
            ++opened;
        };
        item->setMenu({{.kind = MenuItem::Kind::label, .title = u"Hold A & B"_s},
                       {.kind = MenuItem::Kind::separator},
                       {.title = u"Open"_s, .keyEquivalent = u"o"_s, .action = open},
                       {.title = u"Not yet"_s, .keyEquivalent = u"n"_s}});

        QVERIFY(menuOpensOn(u"click 1"_s));
        QStringList rows;
        for (const auto* action : openMenu()->actions())
            rows << action->text() + (action->isEnabled() ? u'+' : u'-');
        QCOMPARE(rows, (QStringList{u"Hold A && B-"_s, u"+"_s, u"Open+"_s, u"Not yet-"_s}));
        QTest::mouseClick(openMenu(), Qt::LeftButton, {},
                          openMenu()->actionGeometry(openMenu()->actions().at(2)).center());
        QCOMPARE(opened, 1);
        QTRY_VERIFY(!openMenu());

        QVERIFY(menuOpensOn(u"click 3"_s));
        QTest::keyClick(openMenu(), Qt::Key_O, Qt::ControlModifier);
        QCOMPARE(opened, 2);
        QVERIFY(!openMenu());

        pointer({300, 400});
        item->setImage(u"mic"_s, u"Tavrik idle"_s);
        QTRY_VERIFY(!find(lit) && find(Qt::white));
        item.reset();
        QTRY_VERIFY(!find(QColor(0x17, 0x17, 0x1a)));
    }
};

QTEST_MAIN(TestTray)
#include "tst_tray.moc"
