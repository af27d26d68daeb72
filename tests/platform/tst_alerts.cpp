#include "platform/qt/MessageBoxAlerts.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QTextEdit>

using namespace Qt::StringLiterals;
using namespace tavrik;

class TestAlerts : public QObject {
    Q_OBJECT

    MainQueue m_queue;
    MessageBoxAlerts m_alerts{m_queue};

    static QMessageBox* box() { return qobject_cast<QMessageBox*>(QApplication::activeModalWidget()); }

private Q_SLOTS:
    void answersWithTheButton_data() {
        QTest::addColumn<QStringList>("buttons");
        QTest::addColumn<QString>("press");
        QTest::addColumn<int>("answer");
        const QStringList three{u"Get it"_s, u"Later & more"_s, u"Never"_s};
        QTest::newRow("single, close") << QStringList() << QString() << 0;
        QTest::newRow("second") << three << u"Later && more"_s << 1;
        QTest::newRow("close") << three << QString() << 2;
        QTest::newRow("Return") << three << u"Return"_s << 0;
    }

    void answersWithTheButton() {
        QFETCH(QStringList, buttons);
        QFETCH(QString, press);
        QList<int> answers;
        const QSignalSpy closed(qApp, &QGuiApplication::lastWindowClosed);
        m_alerts.show({.messageText = u"Tavrik"_s, .informativeText = u"Text"_s, .buttons = buttons},
                      [&](int chosen) { answers << chosen; });
        QVERIFY(QTest::qWaitForWindowExposed(box()));
        QCOMPARE(box()->windowModality(), Qt::ApplicationModal);
        for (auto* button : box()->buttons())
            if (button->text() == press)
                button->click();
        if (press == u"Return")
            QTest::keyClick(box(), Qt::Key_Return);
        if (press.isEmpty())
            box()->close();
        QTRY_VERIFY(!box());
        QFETCH(int, answer);
        QCOMPARE(answers, QList<int>{answer});
        QTest::qWait(50);
        QCOMPARE(closed.count(), 0); // which would end the program
    }

    void oneAfterTheOtherWhileTheQueueWaits() {
        QStringList order;
        const auto log = [&order](const QString& text) {
            order << text;
        };
        m_alerts.show({.informativeText = u"first"_s}, [&](int) { log(u"first"_s); });
        m_alerts.show({.informativeText = u"second"_s}, [&](int) {
            log(u"second"_s);
            m_alerts.show({.informativeText = u"from an answer"_s}, [&](int) { log(u"from an answer"_s); });
        });
        m_queue.post([&] { log(u"job"_s); });
        const QStringList texts{u"first"_s, u"second"_s, u"from an answer"_s};
        for (const auto& text : texts) {
            QCOMPARE(box()->findChild<QTextEdit*>()->toPlainText(), text);
            QTest::qWait(50);
            box()->close();
        }
        QTRY_COMPARE(order, texts + QStringList(u"job"_s));
    }

    void foreignTextStaysPlain() {
        const auto tags = u"<b>bold</b> <img src='file:///etc/hostname'>\n&lt;p&gt; & <a href='x'>link</a>"_s;
        m_alerts.show({.messageText = tags, .informativeText = tags});
        QCOMPARE(box()->textFormat(), Qt::PlainText);
        QCOMPARE(box()->text(), tags);
        // Tags that had been understood would be gone from the plain text.
        QCOMPARE(box()->findChild<QTextEdit*>()->toPlainText(), tags);
        box()->close();
    }

    void longTextFitsTheScreen() {
        for (const auto& text :
             {QString(5000, u'x'), u"line\n"_s.repeated(500), u"words that go on "_s.repeated(9)}) {
            m_alerts.show({.messageText = u"Tavrik"_s, .informativeText = text});
            QVERIFY(QTest::qWaitForWindowExposed(box()));
            const auto available = box()->screen()->availableSize();
            QVERIFY(box()->width() < available.width() && box()->height() < available.height());
            QVERIFY(box()->rect().contains(box()->buttons().constFirst()->geometry()));
            // Every line is as wide as the view, and what does not fit can be scrolled to.
            auto* view = box()->findChild<QTextEdit*>();
            QVERIFY(view->document()->idealWidth() <= view->viewport()->width());
            const bool fits = view->document()->size().height() <= view->viewport()->height();
            QCOMPARE(fits, view->verticalScrollBarPolicy() == Qt::ScrollBarAlwaysOff);
            box()->close();
        }
    }
};

QTEST_MAIN(TestAlerts)
#include "tst_alerts.moc"
