// The pages Home and History under a person's hands: the mouse, the keyboard, a
// screen reader.

#include "HistoryDesk.h"
#include "PageView.h"

#include <QAccessible>
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

namespace {

using Found = QList<QAccessibleInterface*>;

void collect(QAccessibleInterface* node, QAccessible::Role role, const QString& name, Found& found) {
    for (int i = 0; i < node->childCount(); ++i) {
        auto* child = node->child(i);
        if (!child || child->state().invisible)
            continue;
        if (child->role() == role && (name.isNull() || child->text(QAccessible::Name) == name))
            found << child;
        collect(child, role, name, found);
    }
}

} // namespace

class PagesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        QAccessible::setActive(true);
    }

    void init() { desk = std::make_unique<HistoryDesk>(); }
    void cleanup() { view.reset(); }

    void homeCountsWhatItDoesNotList() {
        desk->dictate("two words", desk->now.addDays(-2), 60);
        open("HomeView");
        QCOMPARE(shownRows(), QStringList());
        QVERIFY(one(QAccessible::StaticText,
                    "Nothing yet today. Hold ⌥ Space, speak Persian, release — the English "
                    "text lands here."));
        for (const char* figure : {"2 total words", "2 wpm", "1 day"})
            QVERIFY2(one(QAccessible::StaticText, QString::fromUtf8(figure)), figure);
        QVERIFY(one(QAccessible::Heading, "Welcome back, Sara"));

        desk->dictate("now", desk->now);
        QTRY_COMPARE(shownRows(), QStringList{"now"});
        QVERIFY(one(QAccessible::StaticText, "2 days"));
    }

    void homeSearches() {
        desk->dictate("hello there", desk->now);
        desk->dictate("something else", desk->now);
        open("HomeView");
        QTest::keySequence(view.get(), QKeySequence::Find);
        type("HELLO");
        QTRY_COMPARE(shownRows(), QStringList{"hello there"});
        type("q");
        QTRY_COMPARE(shownRows(), QStringList());
        QVERIFY(one(QAccessible::StaticText, "No matches."));
        QTest::keyClick(view.get(), Qt::Key_Escape);
        QTest::keyClick(view.get(), Qt::Key_Escape);
        QTRY_COMPARE(shownRows(), (QStringList{"something else", "hello there"}));
        QVERIFY(!one(QAccessible::EditableText, "Search"));
    }

    void historySearches() {
        desk->dictate("hello there", desk->now.addDays(-1));
        open("HistoryView");
        QVERIFY(one(QAccessible::Heading, "Yesterday"));
        click(one(QAccessible::EditableText, "Search"));
        type("xyz");
        QTRY_VERIFY(one(QAccessible::StaticText, "No matches for “xyz”."));
        QTRY_COMPARE(shownRows(), QStringList());
        type("<b>");
        QTRY_VERIFY(one(QAccessible::StaticText, "No matches for “xyz<b>”."));
        QTest::keyClick(view.get(), Qt::Key_Escape);
        QTRY_COMPARE(shownRows(), QStringList{"hello there"});

        desk->store.remove(QUuid(desk->store.items().first().id));
        QTRY_VERIFY(one(QAccessible::StaticText, "No transcriptions yet."));
    }

    void copiesByEveryHand() {
        desk->dictate("by the screen reader", desk->now);
        desk->dictate("by the keyboard", desk->now);
        desk->dictate("by the mouse", desk->now);
        open("HistoryView");
        const auto copies = all(QAccessible::Button, "Copy");
        QCOMPARE(copies.size(), 3);

        click(copies.at(0));
        QCOMPARE(desk->clipboard.held, "by the mouse");
        copies.at(2)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(desk->clipboard.held, "by the screen reader");

        click(one(QAccessible::EditableText, "Search"));
        QTest::keyClick(view.get(), Qt::Key_Tab);
        QCOMPARE(focused(), "ListItem by the mouse");
        QTest::keyClick(view.get(), Qt::Key_Down);
        QCOMPARE(focused(), "ListItem by the keyboard");
        QTest::keySequence(view.get(), QKeySequence::Copy);
        QCOMPARE(desk->clipboard.held, "by the keyboard");
        desk->clipboard.held.clear();
        QTest::keyClick(view.get(), Qt::Key_Tab);
        QCOMPARE(focused(), "Button Copy");
        QTest::keyClick(view.get(), Qt::Key_Space);
        QCOMPARE(desk->clipboard.held, "by the keyboard");
    }

    void deletesByKeyboardAndStaysInTheList() {
        for (const char* text : {"third", "second", "first"})
            desk->dictate(text, desk->now);
        open("HistoryView");
        click(one(QAccessible::EditableText, "Search"));
        for (int i = 0; i < 3; ++i)
            QTest::keyClick(view.get(), Qt::Key_Tab);
        QCOMPARE(focused(), "Button Delete");
        QTest::keyClick(view.get(), Qt::Key_Return);
        QTRY_COMPARE(shownRows(), (QStringList{"second", "third"}));
        QTRY_COMPARE(focused(), "ListItem second");
    }

    // The second click of a double click lands on what has moved up; that record
    // was not meant.
    void aDoubleClickDeletesOne() {
        for (const char* text : {"third", "second", "first"})
            desk->dictate(text, desk->now);
        open("HistoryView");
        const auto place = centre(all(QAccessible::Button, "Delete").at(0));
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
        open("HomeView");
        const auto row = one(QAccessible::ListItem, "selectable")->rect();
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
        QTest::newRow("long") << QString(100'000, u'x');
        QTest::newRow("many paragraphs") << QStringLiteral("line\n").repeated(5'000);
        QTest::newRow("markup") << QStringLiteral("<img src='file:///etc/passwd'><b>bold</b> &amp;");
        QTest::newRow("control characters")
            << QStringLiteral("a\x01\x1b[31m\x7f\tb") + QChar(0) + QStringLiteral("c");
        QTest::newRow("bidirectional overrides") << QStringLiteral("\u202eabc\u2066def\u202d");
        QTest::newRow("no characters") << QStringLiteral("\ufffc\ufdd0\ufffe");
        QTest::newRow("emoji") << QStringLiteral("👨‍👩‍👧‍👦👍🏽🏳️‍🌈");
    }
    void showsAnyText() {
        QFETCH(QString, text);
        desk->dictate("below", desk->now);
        desk->dictate(text.toUtf8(), desk->now);
        open("HistoryView");
        const auto rows = all(QAccessible::ListItem);
        QVERIFY(!rows.isEmpty());
        QCOMPARE(rows.first()->text(QAccessible::Name), text);
        click(all(QAccessible::Button, "Copy").at(0));
        QCOMPARE(desk->clipboard.held, text);
        QTest::keyClick(view.get(), Qt::Key_End);
        QTRY_VERIFY(one(QAccessible::ListItem, "below"));
        QTRY_VERIFY(view->grabWindow().rect().contains(one(QAccessible::ListItem, "below")->rect()));
    }

    void eachParagraphHasItsDirection() {
        desk->dictate("English, فارسی\nفارسی, English\n123", desk->now);
        open("HomeView");
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
            desk->dictate(QByteArray("record ") + QByteArray::number(i), desk->now.addSecs(i - 500));
        open("HistoryView");
        QVERIFY(one(QAccessible::ListItem, "record 499"));
        QVERIFY(!one(QAccessible::ListItem, "record 0"));

        const int before = one(QAccessible::ListItem, "record 499")->rect().top();
        wheel(-120);
        QTRY_VERIFY(one(QAccessible::ListItem, "record 499")->rect().top() < before);
        wheel(1200);
        QTRY_COMPARE(one(QAccessible::ListItem, "record 499")->rect().top(), before);

        QTest::keyClick(view.get(), Qt::Key_End);
        QTRY_VERIFY(one(QAccessible::ListItem, "record 0"));
        QTRY_COMPARE(view->mapFromGlobal(one(QAccessible::ListItem, "record 0")->rect().bottomLeft()).y(),
                     view->height() - 42 - 1);
        QTest::keyClick(view.get(), Qt::Key_Home);
        QTRY_COMPARE(one(QAccessible::ListItem, "record 499")->rect().top(), before);
    }

    void scrollsToTheEndOfUnequalRows() {
        for (int i = 0; i < 6; ++i) {
            desk->dictate("short " + QByteArray::number(i), desk->now);
            desk->dictate(QByteArray(100'000, 'x'), desk->now);
            desk->dictate(QByteArray("line\n").repeated(5'000), desk->now);
        }
        open("HomeView");
        QTest::keyClick(view.get(), Qt::Key_End);
        QTRY_VERIFY(one(QAccessible::ListItem, "short 0"));
        QTRY_COMPARE(view->mapFromGlobal(one(QAccessible::ListItem, "short 0")->rect().bottomLeft()).y(),
                     view->height() - 42 - 1);
        QTest::keyClick(view.get(), Qt::Key_Home);
        QTRY_VERIFY(one(QAccessible::Heading, "Welcome back, Sara")->rect().top() > view->y());
        QTRY_VERIFY(!shownRows().isEmpty());
    }

private:
    void open(const char* name) {
        view = std::make_unique<PageView>(QString::fromLatin1(name), desk->pages);
        view->show();
        view->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(view.get()));
        QVERIFY(view->rootObject());
        view->grabWindow();
    }

    Found all(QAccessible::Role role, const QString& name = {}) const {
        Found found;
        collect(QAccessible::queryAccessibleInterface(view.get()), role, name, found);
        std::ranges::stable_sort(found, {}, [](auto* node) { return node->rect().top(); });
        return found;
    }

    QAccessibleInterface* one(QAccessible::Role role, const QString& name) const {
        const auto found = all(role, name);
        return found.isEmpty() ? nullptr : found.first();
    }

    QStringList shownRows() const {
        QStringList texts;
        for (auto* row : all(QAccessible::ListItem))
            texts << row->text(QAccessible::Name);
        return texts;
    }

    /// "Role name" of what has the keyboard.
    QString focused() const {
        auto* node = QAccessible::queryAccessibleInterface(view->activeFocusItem());
        if (!node)
            return {};
        return (node->role() == QAccessible::ListItem ? QStringLiteral("ListItem ")
                                                      : QStringLiteral("Button ")) +
               node->text(QAccessible::Name);
    }

    QPoint centre(QAccessibleInterface* node) const { return view->mapFromGlobal(node->rect().center()); }

    void click(QAccessibleInterface* node) {
        QVERIFY(node);
        QTest::mouseMove(view.get(), centre(node));
        QTest::mouseClick(view.get(), Qt::LeftButton, {}, centre(node));
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
