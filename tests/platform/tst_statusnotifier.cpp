#include "platform/linux/TrayStatusItem.h"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingReply>
#include <QProcess>
#include <QTest>

using namespace tavrik;
using namespace Qt::StringLiterals;

namespace {

/// The bar, a program of its own.
class Bar {
public:
    Bar() { m_process.start(QStringLiteral(STATUS_NOTIFIER_WATCHER), QStringList()); }
    ~Bar() {
        m_process.kill();
        m_process.waitForFinished();
    }

    /// The service of the first item that registered.
    QString item() {
        if (m_item.isEmpty() && m_process.canReadLine())
            m_item = QString::fromUtf8(m_process.readLine()).trimmed();
        return m_item;
    }

private:
    QProcess m_process;
    QString m_item;
};

/// A property of the item. It is of this very process, so nothing may block for the answer.
QVariant itemProperty(const QString& service, const QString& name) {
    auto get = QDBusMessage::createMethodCall(service, u"/StatusNotifierItem"_s,
                                              u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    get.setArguments({u"org.kde.StatusNotifierItem"_s, name});
    const QDBusPendingReply<QDBusVariant> reply = QDBusConnection::sessionBus().asyncCall(get);
    if (!QTest::qWaitFor([&] { return reply.isFinished(); }))
        return {};
    return reply.value().variant();
}

/// Of the tooltip's structure the third member, its title.
QString toolTip(const QString& service) {
    const auto structure = itemProperty(service, u"ToolTip"_s).value<QDBusArgument>();
    QString title;
    structure.beginStructure();
    structure >> title; // the icon's name
    structure.beginArray();
    structure.endArray();
    structure >> title;
    structure.endStructure();
    return title;
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
            QTRY_VERIFY(!bar.item().isEmpty());
            QCOMPARE(itemProperty(bar.item(), u"Status"_s).toString(), u"Active"_s);
            QVERIFY(!itemProperty(bar.item(), u"Menu"_s).value<QDBusObjectPath>().path().isEmpty());
            item.setNote(u"the shortcut is taken"_s);
            QTRY_COMPARE(toolTip(bar.item()), u"Tavrik idle\nthe shortcut is taken"_s);
            item.setImage(u"mic.fill"_s, u"Tavrik recording"_s);
            QTRY_COMPARE(toolTip(bar.item()), u"Tavrik recording\nthe shortcut is taken"_s);
            item.setNote({});
        }
        Bar restarted;
        QTRY_VERIFY(!restarted.item().isEmpty());
        QTRY_COMPARE(toolTip(restarted.item()), u"Tavrik recording"_s);
    }
};

QTEST_MAIN(TestStatusNotifier)
#include "tst_statusnotifier.moc"
