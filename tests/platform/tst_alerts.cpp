#include "platform/qt/MessageBoxAlerts.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QTextEdit>

using namespace tavrik;

namespace {

QMessageBox* box() {
    return qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
}

Alert alert(const QString& text, const QStringList& buttons = {}) {
    return {.messageText = QStringLiteral("Tavrik"), .informativeText = text, .buttons = buttons};
}

} // namespace

class TestAlerts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void answersWithTheButton_data();
    void answersWithTheButton();
    void theQueueWaitsForTheAnswer();
    void oneAfterTheOther();
    void anAnswerMayAskAgain();
    void foreignTextStaysPlain_data();
    void foreignTextStaysPlain();
    void longTextFitsTheScreen_data();
    void longTextFitsTheScreen();
    void closingItDoesNotQuit();
    void goingAwayWhileOpen();
};

void TestAlerts::answersWithTheButton_data() {
    QTest::addColumn<QStringList>("buttons");
    QTest::addColumn<int>("press");
    QTest::addColumn<int>("answer");
    const QStringList three{QStringLiteral("Get it && go"), QStringLiteral("Later"), QStringLiteral("Never")};
    constexpr int closeIt = -1;
    constexpr int pressReturn = -2;
    QTest::newRow("single, close") << QStringList() << closeIt << 0;
    QTest::newRow("single, Return") << QStringList() << pressReturn << 0;
    QTest::newRow("first") << three << 0 << 0;
    QTest::newRow("second") << three << 1 << 1;
    QTest::newRow("third") << three << 2 << 2;
    QTest::newRow("close") << three << closeIt << 2;
    QTest::newRow("Return") << three << pressReturn << 0;
}

void TestAlerts::answersWithTheButton() {
    QFETCH(QStringList, buttons);
    QFETCH(int, press);
    QFETCH(int, answer);
    MainQueue queue;
    MessageBoxAlerts alerts(queue);
    QList<int> answers;
    alerts.show(alert(QStringLiteral("Text"), buttons), [&](int chosen) { answers << chosen; });
    QVERIFY(box());
    QCOMPARE(box()->windowModality(), Qt::ApplicationModal);
    QVERIFY(answers.isEmpty());
    if (press == -1) {
        box()->close();
    } else if (press == -2) {
        QTest::keyClick(box(), Qt::Key_Return);
    } else {
        const auto made = box()->buttons();
        const auto wanted = QString(buttons.at(press)).replace(u'&', QStringLiteral("&&"));
        const auto found = std::ranges::find_if(made, [&](auto* button) { return button->text() == wanted; });
        QVERIFY(found != made.end());
        (*found)->click();
    }
    QCOMPARE(answers, QList<int>{answer});
    QVERIFY(!box());
}

void TestAlerts::theQueueWaitsForTheAnswer() {
    MainQueue queue;
    MessageBoxAlerts alerts(queue);
    QStringList order;
    alerts.show(alert(QStringLiteral("Text")), [&](int) { order << QStringLiteral("answer"); });
    queue.post([&] { order << QStringLiteral("job"); });
    QTest::qWait(50);
    QVERIFY(order.isEmpty());
    box()->close();
    QTRY_COMPARE(order, (QStringList{QStringLiteral("answer"), QStringLiteral("job")}));
}

void TestAlerts::oneAfterTheOther() {
    MainQueue queue;
    MessageBoxAlerts alerts(queue);
    bool ran = false;
    QStringList answered;
    for (const auto& text : {QStringLiteral("first"), QStringLiteral("second")})
        alerts.show(alert(text), [&, text](int) { answered << text; });
    queue.post([&] { ran = true; });
    QCOMPARE(box()->findChild<QTextEdit*>()->toPlainText(), QStringLiteral("first"));
    box()->close();
    QCOMPARE(answered, QStringList{QStringLiteral("first")});
    QTest::qWait(50);
    QVERIFY(!ran);
    QCOMPARE(box()->findChild<QTextEdit*>()->toPlainText(), QStringLiteral("second"));
    box()->close();
    QTRY_VERIFY(ran);
    QCOMPARE(answered.size(), 2);
}

void TestAlerts::anAnswerMayAskAgain() {
    MainQueue queue;
    MessageBoxAlerts alerts(queue);
    alerts.show(alert(QStringLiteral("first")),
                [&](int) { alerts.show(alert(QStringLiteral("from the answer"))); });
    box()->close();
    QCOMPARE(box()->findChild<QTextEdit*>()->toPlainText(), QStringLiteral("from the answer"));
    box()->close();
    bool ran = false;
    queue.post([&] { ran = true; });
    QTRY_VERIFY(ran);
}

void TestAlerts::foreignTextStaysPlain_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("tags") << QStringLiteral(
        "<b>bold</b> <img src='file:///etc/hostname'> <a href='x'>link</a>");
    QTest::newRow("document") << QStringLiteral("<html><body>all of it</body></html>");
    QTest::newRow("entities") << QStringLiteral("&lt;p&gt; & more");
    QTest::newRow("lines") << QStringLiteral("one\ntwo\n\nfour");
}

void TestAlerts::foreignTextStaysPlain() {
    QFETCH(QString, text);
    MainQueue queue;
    MessageBoxAlerts alerts(queue);
    alerts.show({.messageText = text, .informativeText = text});
    QCOMPARE(box()->textFormat(), Qt::PlainText);
    QCOMPARE(box()->text(), text);
    // Tags that had been understood would be gone from the plain text.
    QCOMPARE(box()->findChild<QTextEdit*>()->toPlainText(), text);
    // No label of the box shows it as anything else.
    for (const auto* label : box()->findChildren<QLabel*>())
        QVERIFY(!label->text().contains(text) || label->textFormat() == Qt::PlainText);
    box()->close();
}

void TestAlerts::longTextFitsTheScreen_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("5,000 characters, no space") << QString(5000, u'x');
    QTest::newRow("5,000 wide characters") << QString(5000, u'漢');
    QTest::newRow("500 lines") << QStringLiteral("line\n").repeated(500);
    QTest::newRow("short") << QStringLiteral("Sign in first: menubar icon → Open Tavrik.");
    QTest::newRow("three lines") << QStringLiteral("words that go on ").repeated(9);
}

void TestAlerts::longTextFitsTheScreen() {
    QFETCH(QString, text);
    MainQueue queue;
    MessageBoxAlerts alerts(queue);
    alerts.show(alert(text));
    QVERIFY(QTest::qWaitForWindowExposed(box()));
    const auto available = box()->screen()->availableSize();
    QVERIFY(box()->width() < available.width());
    QVERIFY(box()->height() < available.height());
    auto* button = box()->buttons().constFirst();
    QVERIFY(box()->rect().contains(button->geometry()));

    // Every line is as wide as the view, and what does not fit can be scrolled to.
    auto* view = box()->findChild<QTextEdit*>();
    QVERIFY(view->document()->idealWidth() <= view->viewport()->width());
    const bool fits = view->document()->size().height() <= view->viewport()->height();
    QCOMPARE(fits, view->verticalScrollBarPolicy() == Qt::ScrollBarAlwaysOff);
    box()->close();
}

void TestAlerts::closingItDoesNotQuit() {
    QVERIFY(QApplication::quitOnLastWindowClosed());
    const QSignalSpy closed(qApp, &QGuiApplication::lastWindowClosed);
    MainQueue queue;
    MessageBoxAlerts alerts(queue);
    alerts.show(alert(QStringLiteral("Text")));
    QVERIFY(QTest::qWaitForWindowExposed(box()));
    box()->close();
    QTest::qWait(50);
    QCOMPARE(closed.count(), 0);
}

void TestAlerts::goingAwayWhileOpen() {
    MainQueue queue;
    bool answered = false;
    {
        MessageBoxAlerts alerts(queue);
        alerts.show(alert(QStringLiteral("Text")), [&](int) { answered = true; });
        alerts.show(alert(QStringLiteral("Text")), [&](int) { answered = true; });
    }
    QVERIFY(!box());
    bool ran = false;
    queue.post([&] { ran = true; });
    QTRY_VERIFY(ran);
    QVERIFY(!answered);
}

QTEST_MAIN(TestAlerts)
#include "tst_alerts.moc"
