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
    void oneAfterTheOtherWhileTheQueueWaits();
    void foreignTextStaysPlain();
    void longTextFitsTheScreen_data();
    void longTextFitsTheScreen();
    void closingItDoesNotQuit();
};

void TestAlerts::answersWithTheButton_data() {
    QTest::addColumn<QStringList>("buttons");
    QTest::addColumn<int>("press");
    QTest::addColumn<int>("answer");
    const QStringList three{QStringLiteral("Get it"), QStringLiteral("Later && more"),
                            QStringLiteral("Never")};
    constexpr int closeIt = -1;
    constexpr int pressReturn = -2;
    QTest::newRow("single, close") << QStringList() << closeIt << 0;
    QTest::newRow("second") << three << 1 << 1;
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

void TestAlerts::oneAfterTheOtherWhileTheQueueWaits() {
    MainQueue queue;
    MessageBoxAlerts alerts(queue);
    QStringList order;
    const QString first = QStringLiteral("first");
    const QString second = QStringLiteral("second");
    const QString third = QStringLiteral("from an answer");
    alerts.show(alert(first), [&](int) { order << first; });
    alerts.show(alert(second), [&](int) {
        order << second;
        alerts.show(alert(third), [&](int) { order << third; });
    });
    queue.post([&] { order << QStringLiteral("job"); });
    for (const auto& text : {first, second, third}) {
        QCOMPARE(box()->findChild<QTextEdit*>()->toPlainText(), text);
        QTest::qWait(50);
        box()->close();
        QCOMPARE(order.last(), text);
    }
    QTRY_COMPARE(order, QStringList({first, second, third, QStringLiteral("job")}));
}

void TestAlerts::foreignTextStaysPlain() {
    const auto text =
        QStringLiteral("<b>bold</b> <img src='file:///etc/hostname'>\n&lt;p&gt; & <a href='x'>link</a>");
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
    QTest::newRow("500 lines") << QStringLiteral("line\n").repeated(500);
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

QTEST_MAIN(TestAlerts)
#include "tst_alerts.moc"
