#include "platform/linux/TrayStatusItem.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDebug>
#include <QProcess>
#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;

namespace {

/// The bar, a program of its own.
struct Bar : QProcess {
    Bar() {
        start(u"/usr/bin/python3"_s,
              {u"-m"_s, u"dbusmock"_s, u"--template"_s, QStringLiteral(STATUS_NOTIFIER_WATCHER)});
    }
    ~Bar() override {
        kill();
        waitForFinished();
    }

    /// The service of the first item that registered.
    QString item() {
        QString call;
        const auto registers = [&] {
            while (canReadLine())
                call = QString::fromUtf8(readLine());
            return call.contains(u"RegisterStatusNotifierItem"_s);
        };
        return QTest::qWaitFor(registers) ? call.section(u'"', 1, 1) : QString();
    }
};

/// A property of the item, as Qt prints it. The item is of this very process, so nothing may block for the
/// answer.
QString itemProperty(const QString& service, const QString& name) {
    auto get = QDBusMessage::createMethodCall(service, u"/StatusNotifierItem"_s,
                                              u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    get.setArguments({u"org.kde.StatusNotifierItem"_s, name});
    const auto call = QDBusConnection::sessionBus().asyncCall(get);
    QString text;
    if (QTest::qWaitFor([&] { return call.isFinished(); }))
        QDebug(&text) << call.reply();
    return text;
}

} // namespace

/// Without a bar at first: one for status notifiers comes later, as at the start of a session.
class TestStatusNotifier : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void waitsForABarAndFollowsIt() {
        TrayStatusItem item([] { return false; });
        item.setImage(u"mic"_s, u"Tavrik idle"_s);
        item.setMenu({{.title = u"Open"_s}});
        {
            Bar bar;
            const auto service = bar.item();
            QVERIFY(itemProperty(service, u"Status"_s).contains(u"\"Active\""));
            QVERIFY(itemProperty(service, u"Menu"_s).contains(u"ObjectPath: /"));
            item.setNote(u"the shortcut is taken"_s);
            QTRY_VERIFY(
                itemProperty(service, u"ToolTip"_s).contains(u"\"Tavrik idle\nthe shortcut is taken\""));
            item.setNote({});
            item.setImage(u"mic.fill"_s, u"Tavrik recording"_s);
        }
        Bar restarted;
        const auto service = restarted.item();
        QTRY_VERIFY(itemProperty(service, u"ToolTip"_s).contains(u"\"Tavrik recording\""));
    }
};

QTEST_MAIN(TestStatusNotifier)
#include "tst_statusnotifier.moc"
