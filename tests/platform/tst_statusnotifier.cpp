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

namespace {

/// The bar, a program of its own.
class Bar {
public:
    Bar() { m_process.start(QStringLiteral(STATUS_NOTIFIER_WATCHER), QStringList()); }
    Bar(const Bar&) = delete;
    Bar& operator=(const Bar&) = delete;
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
    auto get = QDBusMessage::createMethodCall(service, QStringLiteral("/StatusNotifierItem"),
                                              QStringLiteral("org.freedesktop.DBus.Properties"),
                                              QStringLiteral("Get"));
    get.setArguments({QStringLiteral("org.kde.StatusNotifierItem"), name});
    const QDBusPendingReply<QDBusVariant> reply = QDBusConnection::sessionBus().asyncCall(get);
    if (!QTest::qWaitFor([&] { return reply.isFinished(); }))
        return {};
    return reply.value().variant();
}

/// Of the tooltip's structure the third member, its title.
QString toolTip(const QString& service) {
    const auto structure = itemProperty(service, QStringLiteral("ToolTip")).value<QDBusArgument>();
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
    void itWaitsForABarAndFollowsIt();
};

void TestStatusNotifier::itWaitsForABarAndFollowsIt() {
    TrayStatusItem item([] { return false; });
    item.setImage(QStringLiteral("mic"), QStringLiteral("Tavrik idle"));
    item.setMenu({{.title = QStringLiteral("Open")}});
    {
        Bar bar;
        QTRY_VERIFY(!bar.item().isEmpty());
        QCOMPARE(itemProperty(bar.item(), QStringLiteral("Status")).toString(), QStringLiteral("Active"));
        QVERIFY(!itemProperty(bar.item(), QStringLiteral("Menu")).value<QDBusObjectPath>().path().isEmpty());
        QTRY_COMPARE(toolTip(bar.item()), QStringLiteral("Tavrik idle"));
        item.setNote(QStringLiteral("the shortcut is taken"));
        QTRY_COMPARE(toolTip(bar.item()), QStringLiteral("Tavrik idle\nthe shortcut is taken"));
        item.setImage(QStringLiteral("mic.fill"), QStringLiteral("Tavrik recording"));
        QTRY_COMPARE(toolTip(bar.item()), QStringLiteral("Tavrik recording\nthe shortcut is taken"));
        item.setNote({});
        QTRY_COMPARE(toolTip(bar.item()), QStringLiteral("Tavrik recording"));
    }
    Bar restarted;
    QTRY_VERIFY(!restarted.item().isEmpty());
    QTRY_COMPARE(toolTip(restarted.item()), QStringLiteral("Tavrik recording"));
}

QTEST_MAIN(TestStatusNotifier)
#include "tst_statusnotifier.moc"
