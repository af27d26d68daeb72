// The pages Home and History, at one and at two pixels a unit.

#include "HistoryDesk.h"
#include "PageView.h"
#include "support/AccessibleTree.h"

#include <QApplication>
#include <QClipboard>
#include <QQuickTextDocument>
#include <QRegularExpression>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>
#include <QWheelEvent>

#include <memory>

using namespace tavrik;
using namespace tavrik::test;

class PagesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QQuickWindow::setGraphicsApi(QSGRendererInterface::Software); }

    void init() {
        QTest::failOnWarning(QRegularExpression("."));
        desk = std::make_unique<HistoryDesk>();
    }
    void cleanup() { view.reset(); }

    void copiesAndDeletesWithoutAMouse() {
        openWith({"third", "second", "first"});
        QTest::mouseClick(view.get(), Qt::LeftButton, {}, place("Search").center());
        key(Qt::Key_Tab);
        key(Qt::Key_Down);
        QTest::keySequence(view.get(), QKeySequence::Copy);
        QCOMPARE(desk->clipboard.held, "second");
        key(Qt::Key_Up);
        key(Qt::Key_Tab);
        key(Qt::Key_Space);
        QCOMPARE(desk->clipboard.held, "first");
        key(Qt::Key_Tab);
        QCOMPARE(tree().focused(), "Delete");
        key(Qt::Key_Return);
        QTRY_COMPARE(shownRows(), (QStringList{"second", "third"}));
        QTRY_COMPARE(tree().focused(), "second");
    }

    void buttonsTakeWhatIsMeantForThem() {
        openWith({"second", "first"});
        QCOMPARE(view->grabWindow().width(), qRound(view->width() * view->devicePixelRatio()));
        // Out of sight, they take nothing: a finger, or the click of one far away, only shows them.
        const auto trash = place("Delete").center();
        hover({5, 5});
        QTest::mouseClick(view.get(), Qt::LeftButton, {}, trash);
        hover({5, 5});
        tap(trash);
        QTest::qWait(200);
        QCOMPARE(shownRows(), (QStringList{"first", "second"}));
        tap(trash);
        QTRY_COMPARE(shownRows(), QStringList{"second"});
        tap(trash);
        QTest::qWait(200);
        QCOMPARE(shownRows(), QStringList{"second"});
        // In sight, the room around them is theirs too.
        const auto copy = place("Copy").marginsAdded({2, 11, 2, 11});
        QCOMPARE(copy.size(), QSize(24, 42));
        for (const auto at : {copy.topLeft() - QPoint(1, 0), copy.topLeft(), copy.bottomRight()}) {
            desk->clipboard.held.clear();
            hover(at);
            QTest::mouseClick(view.get(), Qt::LeftButton, {}, at);
            QCOMPARE(desk->clipboard.held, copy.contains(at) ? "second" : "");
        }
    }

    void textCanBeSelected() {
        openWith({"selectable"});
        const QPoint start(place("selectable").left() + 93, place("Copy").center().y());
        QTest::mousePress(view.get(), Qt::LeftButton, {}, start);
        for (int x = 10; x <= 200; x += 10)
            QTest::mouseMove(view.get(), start + QPoint(x, 0));
        QTest::mouseRelease(view.get(), Qt::LeftButton, {}, start + QPoint(200, 0));
        QTest::keySequence(view.get(), QKeySequence::Copy);
        QCOMPARE(QApplication::clipboard()->text(), "selectable");
    }

    void eachParagraphHasItsDirection() {
        openWith({"English, فارسی\nفارسی, English\n123"});
        QList<Qt::LayoutDirection> directions;
        for (auto* item : tree().all(QAccessible::ListItem).at(0)->object()->findChildren<QQuickItem*>()) {
            if (!item->inherits("QQuickTextEdit"))
                continue;
            auto* text = item->property("textDocument").value<QQuickTextDocument*>()->textDocument();
            for (auto block = text->begin(); block.isValid(); block = block.next())
                directions << block.textDirection();
        }
        QCOMPARE(directions, (QList{Qt::LeftToRight, Qt::RightToLeft, Qt::LeftToRight}));
    }

    void scrolls() {
        for (int i = 0; i < 500; ++i)
            desk->dictate("record " + QByteArray::number(i), desk->now);
        openWith({});
        const int before = place("record 499").top();
        const int atTheEnd = view->height() - 42 - 1;
        const auto turnWheel = [&](int by) {
            const QPointF at(300, 300);
            QWheelEvent wheel(at, view->mapToGlobal(at), {}, {0, by}, {}, {}, Qt::NoScrollPhase, false);
            QApplication::sendEvent(view.get(), &wheel);
        };
        turnWheel(-120);
        // It glides.
        QCOMPARE(place("record 499").top(), before);
        QTRY_COMPARE(place("record 499").top(), before - 60);
        // One of a high resolution gives each step in pieces.
        for (int i = 0; i < 8; ++i)
            turnWheel(-15);
        QTRY_COMPARE(place("record 499").top(), before - 120);
        turnWheel(1200);
        QTRY_COMPARE(place("record 499").top(), before);
        // By its bar.
        QTest::mousePress(view.get(), Qt::LeftButton, {}, QPoint(view->width() - 6, 50));
        QTest::mouseMove(view.get(), QPoint(view->width() - 6, view->height() - 1));
        QTest::mouseRelease(view.get(), Qt::LeftButton, {}, QPoint(view->width() - 6, view->height() - 1));
        QTRY_COMPARE(place("record 0").bottom(), atTheEnd);
        turnWheel(-1200);
        QTest::qWait(300);
        QCOMPARE(place("record 0").bottom(), atTheEnd);
        key(Qt::Key_Home);
        QTRY_COMPARE(place("record 499").top(), before);
        // By a finger: where it lets go the list runs on, until it comes down again.
        QPoint at(300, 500);
        QTest::touchEvent(view.get(), finger.get()).press(0, at);
        for (int i = 0; i < 8; ++i) {
            QTest::qWait(10);
            QTest::touchEvent(view.get(), finger.get()).move(0, at -= QPoint(0, 20));
        }
        const int dragged = place("record 499").top();
        QVERIFY2(dragged < before - 100 && dragged > before - 170, qPrintable(QString::number(dragged)));
        QTest::touchEvent(view.get(), finger.get()).release(0, at);
        QTRY_VERIFY(place("record 499").top() < dragged - 20);
        tap(at);
        const int stopped = place("record 499").top();
        QTest::qWait(100);
        QCOMPARE(place("record 499").top(), stopped);
    }

    void scrollsToTheEndOfUnequalRows() {
        QByteArrayList texts{"last"};
        for (int i = 0; i < 6; ++i)
            texts << QByteArray(100'000, 'x') << "short" << QByteArray("line\n").repeated(5'000);
        openWith(texts);
        key(Qt::Key_End);
        QTRY_COMPARE(place("last").bottom(), view->height() - 42 - 1);
    }

private:
    /// The page History, with these records above those that there are.
    void openWith(const QByteArrayList& texts) {
        for (const auto& text : texts)
            desk->dictate(text, desk->now);
        view = std::make_unique<PageView>(engine, "history/HistoryView", desk->pages);
        view->show();
        view->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(view.get()));
        QAccessible::setActive(true);
        view->grabWindow();
    }

    AccessibleTree tree() const { return AccessibleTree(*view); }

    QStringList shownRows() const {
        QStringList texts;
        for (auto* row : tree().all(QAccessible::ListItem))
            texts << row->text(QAccessible::Name);
        return texts;
    }

    /// Where the row or control is, in the window.
    QRect place(const QString& name) const {
        const auto* object = tree().find(name);
        return object ? QRect(view->mapFromGlobal(object->rect().topLeft()), object->rect().size()) : QRect();
    }

    void hover(QPoint at) {
        QTest::mouseMove(view.get(), at);
        QTest::qWait(200);
    }

    void tap(QPoint at) {
        QTest::touchEvent(view.get(), finger.get()).press(0, at);
        QTest::touchEvent(view.get(), finger.get()).release(0, at);
    }

    void key(Qt::Key key) { QTest::keyClick(view.get(), key); }

    const std::unique_ptr<QPointingDevice> finger{QTest::createTouchDevice()};
    std::unique_ptr<HistoryDesk> desk;
    ViewEngine engine;
    std::unique_ptr<PageView> view;
};

QTEST_MAIN(PagesTest)
#include "tst_pages.moc"
