// The pages Home and History under a person's hands: the mouse, the keyboard, a
// screen reader.

#include "HistoryDesk.h"
#include "PageView.h"
#include "support/AccessibleTree.h"

#include <QApplication>
#include <QClipboard>
#include <QQuickTextDocument>
#include <QStyleHints>
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

    void init() { desk = std::make_unique<HistoryDesk>(); }
    void cleanup() { view.reset(); }

    void saysWhyThereIsNothing() {
        desk->dictate("two words", desk->now.addDays(-2), 60);
        open("home/HomeView");
        QCOMPARE(shownRows(), QStringList());
        QVERIFY(tree().shows("Nothing yet today. Hold ⌥ Space, speak Persian, release — the English "
                             "text lands here."));
        desk->dictate("now", desk->now);
        QTRY_COMPARE(shownRows(), QStringList{"now"});

        open("history/HistoryView");
        tree().click("Search");
        type("<b>");
        QTRY_VERIFY(tree().shows("No matches for “<b>”."));
        QTest::keyClick(view.get(), Qt::Key_Escape);
        QTRY_COMPARE(shownRows(), (QStringList{"now", "two words"}));
        for (int i = 0; i < 2; ++i)
            desk->store.remove(QUuid(desk->store.items().first().id));
        QTRY_VERIFY(tree().shows("No transcriptions yet."));
    }

    void copiesByEveryHand() {
        desk->dictate("by the screen reader", desk->now);
        desk->dictate("by the keyboard", desk->now);
        desk->dictate("by the mouse", desk->now);
        open("history/HistoryView");
        const auto copies = tree().all(QAccessible::Button, "Copy");
        QCOMPARE(copies.size(), 3);

        tree().click(copies.at(0));
        QCOMPARE(desk->clipboard.held, "by the mouse");
        copies.at(2)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(desk->clipboard.held, "by the screen reader");

        tree().click("Search");
        QTest::keyClick(view.get(), Qt::Key_Tab);
        QCOMPARE(tree().focused(), "by the mouse");
        QTest::keyClick(view.get(), Qt::Key_Down);
        QCOMPARE(tree().focused(), "by the keyboard");
        QTest::keySequence(view.get(), QKeySequence::Copy);
        QCOMPARE(desk->clipboard.held, "by the keyboard");
        desk->clipboard.held.clear();
        QTest::keyClick(view.get(), Qt::Key_Tab);
        QCOMPARE(tree().focused(), "Copy");
        QTest::keyClick(view.get(), Qt::Key_Space);
        QCOMPARE(desk->clipboard.held, "by the keyboard");
    }

    void deletesByKeyboardAndStaysInTheList() {
        for (const char* text : {"third", "second", "first"})
            desk->dictate(text, desk->now);
        open("history/HistoryView");
        tree().click("Search");
        for (int i = 0; i < 3; ++i)
            QTest::keyClick(view.get(), Qt::Key_Tab);
        QCOMPARE(tree().focused(), "Delete");
        QTest::keyClick(view.get(), Qt::Key_Return);
        QTRY_COMPARE(shownRows(), (QStringList{"second", "third"}));
        QTRY_COMPARE(tree().focused(), "second");
    }

    // The second click of a double click lands on what has moved up; that record
    // was not meant.
    void aDoubleClickDeletesOne() {
        for (const char* text : {"third", "second", "first"})
            desk->dictate(text, desk->now);
        open("history/HistoryView");
        const auto place = tree().middle(tree().find("Delete"));
        QTest::mouseMove(view.get(), place);
        QTest::mouseClick(view.get(), Qt::LeftButton, {}, place);
        QTRY_COMPARE(shownRows(), (QStringList{"second", "third"}));
        // Clicks of a test are further apart than those of a double click.
        QTest::lastMouseTimestamp -= QGuiApplication::styleHints()->mouseDoubleClickInterval();
        QTest::mouseClick(view.get(), Qt::LeftButton, {}, place);
        QCOMPARE(desk->store.items().size(), 2);
        QTest::mouseClick(view.get(), Qt::LeftButton, {}, place);
        QCOMPARE(desk->store.items().size(), 1);
    }

    void textCanBeSelected() {
        desk->dictate("selectable", desk->now);
        open("home/HomeView");
        const auto row = place("selectable");
        const QPoint start(row.left() + 93, row.center().y());
        QTest::mousePress(view.get(), Qt::LeftButton, {}, start);
        for (int x = 10; x <= 200; x += 10)
            QTest::mouseMove(view.get(), start + QPoint(x, 0));
        QTest::mouseRelease(view.get(), Qt::LeftButton, {}, start + QPoint(200, 0));
        QTest::keySequence(view.get(), QKeySequence::Copy);
        QCOMPARE(QApplication::clipboard()->text(), "selectable");
    }

    void showsAnyText_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("many paragraphs") << QStringLiteral("line\n").repeated(5'000);
        QTest::newRow("markup") << QStringLiteral("<img src='file:///etc/passwd'><b>bold</b> &amp;");
        QTest::newRow("control characters")
            << QStringLiteral("a\x01\x1b[31m\x7f\tb") + QChar(0) + QStringLiteral("c");
    }
    void showsAnyText() {
        QFETCH(QString, text);
        desk->dictate("below", desk->now);
        desk->dictate(text.toUtf8(), desk->now);
        open("history/HistoryView");
        QCOMPARE(shownRows().value(0), text);
        tree().click("Copy");
        QCOMPARE(desk->clipboard.held, text);
        QTest::keyClick(view.get(), Qt::Key_End);
        QTRY_VERIFY(tree().shows("below"));
        QTRY_VERIFY(QRect(QPoint(), view->size()).contains(place("below")));
    }

    void eachParagraphHasItsDirection() {
        desk->dictate("English, فارسی\nفارسی, English\n123", desk->now);
        open("home/HomeView");
        auto* edit = view->find("QQuickTextEdit");
        QVERIFY(edit);
        auto* text = edit->property("textDocument").value<QQuickTextDocument*>()->textDocument();
        QList<Qt::LayoutDirection> directions;
        for (auto block = text->begin(); block.isValid(); block = block.next())
            directions << block.textDirection();
        QCOMPARE(directions, (QList{Qt::LeftToRight, Qt::RightToLeft, Qt::LeftToRight}));
    }

    void scrolls() {
        for (int i = 0; i < 500; ++i)
            desk->dictate("record " + QByteArray::number(i), desk->now.addSecs(i - 500));
        open("history/HistoryView");
        QVERIFY(!tree().shows("record 0"));
        const int before = place("record 499").top();
        wheel(-120);
        QTRY_VERIFY(place("record 499").top() < before);
        wheel(1200);
        QTRY_COMPARE(place("record 499").top(), before);

        QTest::keyClick(view.get(), Qt::Key_End);
        QTRY_COMPARE(place("record 0").bottom(), view->height() - 42 - 1);
        QTest::keyClick(view.get(), Qt::Key_Home);
        QTRY_COMPARE(place("record 499").top(), before);
    }

    void scrollsToTheEndOfUnequalRows() {
        for (int i = 0; i < 6; ++i) {
            desk->dictate("short " + QByteArray::number(i), desk->now);
            desk->dictate(QByteArray(100'000, 'x'), desk->now);
            desk->dictate(QByteArray("line\n").repeated(5'000), desk->now);
        }
        open("home/HomeView");
        QTest::keyClick(view.get(), Qt::Key_End);
        QTRY_COMPARE(place("short 0").bottom(), view->height() - 42 - 1);
        QTest::keyClick(view.get(), Qt::Key_Home);
        QTRY_VERIFY(tree().shows("Welcome back, Sara") && place("Welcome back, Sara").top() > 0);
        QTRY_VERIFY(!shownRows().isEmpty());
    }

private:
    void open(const char* name) {
        view = std::make_unique<PageView>(QString::fromLatin1(name), desk->pages);
        view->show();
        view->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(view.get()));
        QVERIFY(view->rootObject());
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

    /// Where the row is, in the window.
    QRect place(const QString& row) const {
        const auto* object = tree().find(row);
        return object ? QRect(view->mapFromGlobal(object->rect().topLeft()), object->rect().size()) : QRect();
    }

    void type(const char* text) {
        for (const char* c = text; *c; ++c)
            QTest::keyClick(view.get(), *c);
    }

    void wheel(int delta) {
        const QPointF at(300, 300);
        QWheelEvent event(at, view->mapToGlobal(at), {}, {0, delta}, {}, {}, Qt::NoScrollPhase, false);
        QApplication::sendEvent(view.get(), &event);
    }

    std::unique_ptr<HistoryDesk> desk;
    std::unique_ptr<PageView> view;
};

QTEST_MAIN(PagesTest)
#include "tst_pages.moc"
