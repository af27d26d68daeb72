#include "platform/qt/MessageBoxAlerts.h"
#include "platform/qt/QtWindowActivator.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QScreen>
#include <QTest>
#include <QTextEdit>

using namespace Qt::StringLiterals;
using namespace tavrik;

/// What test_updates.py does not meet.
class TestAlerts : public QObject {
    Q_OBJECT

    MainQueue m_queue;
    QtWindowActivator m_activator;
    MessageBoxAlerts m_alerts{m_queue, m_activator};

    static QMessageBox* box() { return qobject_cast<QMessageBox*>(QApplication::activeModalWidget()); }
    static QTextEdit* view() { return box()->findChild<QTextEdit*>(); }

private Q_SLOTS:
    void answersInOrderWhileTheQueueWaits() {
        QStringList answers;
        const auto log = [&answers](const QString& of) {
            return [&answers, of](int button) {
                answers << of + QString::number(button);
            };
        };
        // Tags that had been understood would be gone from the plain text.
        const auto foreign =
            u"<b>bold</b> <img src='file:///etc/hostname'>\n&lt;p&gt; & <a href='x'>link</a>"_s;
        const QStringList buttons{u"Get it"_s, u"Later & more"_s, u"Never"_s};
        m_alerts.show({.messageText = foreign, .informativeText = foreign}, log(u"first "_s));
        m_alerts.show({.informativeText = u"second"_s, .buttons = buttons}, [&](int button) {
            log(u"second "_s)(button);
            m_alerts.show({.informativeText = u"from an answer"_s, .buttons = buttons}, log(u"third "_s));
        });
        m_queue.post([&] { answers << u"job"_s; });

        QCOMPARE(box()->text(), foreign);
        QCOMPARE(box()->textFormat(), Qt::PlainText);
        QCOMPARE(view()->toPlainText(), foreign);
        box()->close();
        QCOMPARE(view()->toPlainText(), u"second"_s);
        QTest::qWait(50);
        QCOMPARE(box()->buttons().at(1)->text(), u"Later && more"_s);
        box()->buttons().at(1)->click();
        QCOMPARE(view()->toPlainText(), u"from an answer"_s);
        box()->close();
        QTRY_COMPARE(answers, (QStringList{u"first 0"_s, u"second 1"_s, u"third 2"_s, u"job"_s}));
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
            QVERIFY(view()->document()->idealWidth() <= view()->viewport()->width());
            const bool fits = view()->document()->size().height() <= view()->viewport()->height();
            QCOMPARE(fits, view()->verticalScrollBarPolicy() == Qt::ScrollBarAlwaysOff);
            box()->close();
        }
    }
};

QTEST_MAIN(TestAlerts)
#include "tst_alerts.moc"
