#include "platform/linux/EmbeddingTray.h"
#include "platform/linux/TrayStatusItem.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QDebug>
#include <QTest>
#include <QThread>

#include <atomic>

using namespace tavrik;
using namespace Qt::StringLiterals;

namespace {

const auto watcher = u"org.kde.StatusNotifierWatcher"_s;
const auto watcherPath = u"/StatusNotifierWatcher"_s;

/// A bar on a thread of its own, since Qt waits for its answers.
class Bar : public QDBusVirtualObject {
public:
    explicit Bar(bool hasHost) : m_hasHost(hasHost) {
        m_thread.start();
        moveToThread(&m_thread);
        bus().registerVirtualObject(watcherPath, this);
        bus().registerService(watcher);
    }
    ~Bar() override {
        bus().unregisterService(watcher);
        bus().unregisterObject(watcherPath);
        m_thread.quit();
        m_thread.wait();
    }

    void registerHost() {
        m_hasHost = true;
        bus().send(QDBusMessage::createSignal(watcherPath, watcher, u"StatusNotifierHostRegistered"_s));
    }

    /// The service of the item that has registered; empty if none does.
    QString item() {
        return QTest::qWaitFor([this] { return m_hasItem.load(); }) ? m_item : QString();
    }

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        if (message.member() == u"Introspect")
            return bus.send(message.createReply(u"<node><interface name='org.kde.StatusNotifierWatcher'>"
                                                "<property name='IsStatusNotifierHostRegistered' type='b' "
                                                "access='read'/></interface></node>"_s));
        if (message.member() == u"RegisterStatusNotifierItem") {
            m_item = message.arguments().value(0).toString();
            m_hasItem = true;
        }
        return bus.send(message.createReply(QVariant::fromValue(QDBusVariant(m_hasHost.load()))));
    }

private:
    static QDBusConnection bus() {
        return QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"bar"_s);
    }

    QThread m_thread;
    std::atomic<bool> m_hasHost;
    std::atomic<bool> m_hasItem = false;
    QString m_item;
};

/// A property of the item, as Qt prints it. The item is of this very thread, so nothing may block for the
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

struct NoTray : EmbeddingTray {
    bool isRunning() const override { return false; }
};

} // namespace

/// Without a bar at first: one for status notifiers comes later, as at the start of a session.
class TestStatusNotifier : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void waitsForABarAndFollowsIt() {
        NoTray noTray;
        TrayStatusItem item(noTray);
        item.setImage(u"mic"_s, u"Tavrik idle"_s);
        item.setMenu({{.title = u"Open"_s}});
        {
            Bar bar(false);
            QTest::qWait(200);
            QVERIFY(!item.status().works);
            bar.registerHost();
            const auto service = bar.item();
            QVERIFY(itemProperty(service, u"Status"_s).contains(u"\"Active\""));
            QVERIFY(itemProperty(service, u"Menu"_s).contains(u"ObjectPath: /"));
            item.setNote(u"the shortcut is taken"_s);
            QVERIFY(itemProperty(service, u"ToolTip"_s).contains(u"\"Tavrik idle\nthe shortcut is taken\""));
            item.setNote({});
            item.setImage(u"mic.fill"_s, u"Tavrik recording"_s);
        }
        Bar restarted(true);
        QVERIFY(itemProperty(restarted.item(), u"ToolTip"_s).contains(u"\"Tavrik recording\""));
    }
};

QTEST_MAIN(TestStatusNotifier)
#include "tst_statusnotifier.moc"
