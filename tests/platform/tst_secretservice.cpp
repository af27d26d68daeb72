#include "base/MainQueue.h"
#include "platform/linux/SecretServiceSlot.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace tavrik;

namespace {

/// Runs a command to its end; its output.
QByteArray run(const QString& command, const QByteArray& input = {}) {
    QProcess process;
    process.startCommand(command);
    process.write(input);
    process.closeWriteChannel();
    process.waitForFinished();
    return process.readAllStandardOutput();
}

QByteArray secretTool(const QString& command, const QByteArray& input = {}) {
    return run(u"secret-tool "_s + command + u" service io.nordvex.tavrik account supabase-session"_s, input);
}

/// The windows in which the keyring asks for its password.
QByteArray questions() {
    return run(u"xdotool search --onlyvisible --name ^Unlock.Login.Keyring$"_s);
}

QVariant path(const QString& text) {
    return QVariant::fromValue(QDBusObjectPath(text));
}

QVariant paths(const QStringList& texts) {
    return QVariant::fromValue(QList<QDBusObjectPath>(texts.begin(), texts.end()));
}

QVariant wrapped(const QVariant& value) {
    return QVariant::fromValue(QDBusVariant(value));
}

const QVariantList senseless{u"?"_s};
const QVariantList nothingFound{paths({}), paths({})};
const QVariantList found{paths({u"/item"_s}), paths({})};

/// A keyring on a bus of its own, with whatever is wrong with it.
struct FakeKeyring : QDBusVirtualObject {
    FakeKeyring() {
        daemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
        daemon.waitForReadyRead();
        address = QString::fromLatin1(daemon.readLine().trimmed());
        auto bus = QDBusConnection::connectToBus(address, u"keyring"_s);
        bus.registerVirtualObject(u"/"_s, this, QDBusConnection::SubPath);
        bus.registerService(u"org.freedesktop.secrets"_s);
        QDBusArgument secret;
        secret.beginStructure();
        secret << QDBusObjectPath(u"/session"_s) << QByteArray() << QByteArray("kept") << u"text/plain"_s;
        secret.endStructure();
        replies.insert(u"GetSecret"_s, {QVariant::fromValue(secret)});
    }
    ~FakeKeyring() override {
        QDBusConnection::disconnectFromBus(u"keyring"_s);
        daemon.terminate();
        daemon.waitForFinished();
    }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        auto method = message.member();
        if (method == u"Get")
            method = message.arguments().at(1).toString();
        calls += method;
        if (method == u"Delete" && deletes)
            replies.insert(u"SearchItems"_s, nothingFound);
        return !replies.contains(method) || bus.send(message.createReply(replies.value(method)));
    }
    void complete(bool dismissed) const {
        auto signal =
            QDBusMessage::createSignal(u"/prompt"_s, u"org.freedesktop.Secret.Prompt"_s, u"Completed"_s);
        signal.setArguments({dismissed, wrapped(path(u"/item"_s))});
        QDBusConnection(u"keyring"_s).send(signal);
    }

    QProcess daemon;
    QString address;
    QStringList calls;
    bool deletes = true;
    /// A method without one never answers.
    QHash<QString, QVariantList> replies{
        {u"OpenSession"_s, {wrapped(u""_s), path(u"/session"_s)}},
        {u"SearchItems"_s, found},
        {u"Collections"_s, {wrapped(paths({u"/collection"_s}))}},
        {u"Locked"_s, {wrapped(false)}},
        {u"ReadAlias"_s, {path(u"/collection"_s)}},
        {u"Delete"_s, {path(u"/"_s)}},
        {u"Prompt"_s, {}},
    };
};

} // namespace

class SecretServiceTest : public QObject {
    Q_OBJECT

    MainQueue m_queue;
    QTemporaryDir m_folder;
    const QString m_mark = m_folder.filePath(u"signed-out"_s);
    std::unique_ptr<SecretServiceSlot> m_slot;
    int m_reads = 0;
    std::optional<QByteArray> m_secret;

    void start(const QDBusConnection& bus = QDBusConnection::sessionBus()) {
        m_slot = std::make_unique<SecretServiceSlot>(m_queue, m_mark, bus);
    }
    void start(const FakeKeyring& keyring) {
        start(QDBusConnection::connectToBus(keyring.address, u"slot"_s));
    }
    void read() {
        m_reads = 0;
        m_slot->read([this](std::optional<QByteArray> secret) {
            ++m_reads;
            m_secret = std::move(secret);
        });
    }

private Q_SLOTS:
    void cleanup() {
        m_slot.reset();
        QDBusConnection::disconnectFromBus(u"slot"_s);
        QFile::remove(m_mark);
    }

    void keepsOneItemAndTheOrder() {
        secretTool(u"store --label=Other xdg:schema another"_s, "older");
        start();
        read();
        QCOMPARE(m_reads, 0);
        QTRY_COMPARE(m_reads, 1);
        QCOMPARE(m_secret, QByteArray("older"));
        m_slot->remove();
        m_slot->save("one");
        m_slot->save("دو");
        read();
        QTRY_COMPARE(m_reads, 1);
        QCOMPARE(m_secret, QByteArray("دو"));
        secretTool(u"store --label=Other xdg:schema another"_s, "older");
        m_slot->save("last words");
        m_slot.reset();
        QCOMPARE(secretTool(u"lookup xdg:schema io.nordvex.tavrik"_s), QByteArray("last words"));
        QCOMPARE(secretTool(u"search --all"_s).count("secret = "), 1);
        start();
        m_slot->remove();
        QVERIFY(QFile::exists(m_mark));
        m_slot.reset();
        QCOMPARE(secretTool(u"lookup"_s), QByteArray());
        QVERIFY(!QFile::exists(m_mark));
    }

    void aLockedKeyringIsWaitedFor() {
        secretTool(u"store --label=Tavrik"_s, "kept");
        auto lock =
            QDBusMessage::createMethodCall(u"org.freedesktop.secrets"_s, u"/org/freedesktop/secrets"_s,
                                           u"org.freedesktop.Secret.Service"_s, u"Lock"_s);
        lock << paths({u"/org/freedesktop/secrets/collection/login"_s});
        QDBusConnection::sessionBus().call(lock);
        start();
        read();
        QTRY_VERIFY(!questions().isEmpty());
        QVERIFY(!m_slot->status().works);
        QCOMPARE(m_reads, 0);
        run(u"xdotool windowfocus --sync "_s + QString::fromLatin1(questions().trimmed()) +
            u" key t e s t Return"_s);
        QTRY_COMPARE_WITH_TIMEOUT(m_reads, 1, 20000);
        QCOMPARE(m_secret, QByteArray("kept"));
        QVERIFY(m_slot->status().works);
    }

    void aHiddenItemIsWaitedFor() {
        FakeKeyring keyring;
        keyring.replies.insert({{u"SearchItems"_s, nothingFound}, {u"Locked"_s, {wrapped(true)}}});
        start(keyring);
        read();
        QTRY_VERIFY(keyring.calls.contains(u"Locked"_s));
        m_slot->cancelRead();
        read();
        QTRY_COMPARE(keyring.calls.count(u"Locked"_s), 2);
        keyring.replies.insert(u"SearchItems"_s, found);
        QTRY_COMPARE(m_reads, 1);
        QCOMPARE(m_secret, QByteArray("kept"));
        QVERIFY(!keyring.calls.contains(u"Unlock"_s));
    }

    void aPromptDecides() {
        FakeKeyring keyring;
        keyring.deletes = false;
        keyring.replies.insert(
            {{u"Delete"_s, {path(u"/prompt"_s)}}, {u"CreateItem"_s, {path(u"/"_s), path(u"/prompt"_s)}}});
        start(keyring);
        m_slot->remove();
        m_slot->save("new");
        QTRY_COMPARE(keyring.calls.count(u"Prompt"_s), 1);
        keyring.complete(true);
        QTRY_COMPARE(keyring.calls.count(u"Prompt"_s), 2);
        QVERIFY(QFile::exists(m_mark));
        keyring.complete(false);
        QTRY_VERIFY(!QFile::exists(m_mark));
    }

    void senselessAnswersReadAsEmpty_data() {
        QTest::addColumn<QString>("method");
        for (const auto* method : {"OpenSession", "SearchItems", "GetSecret"})
            QTest::newRow(method) << QString::fromLatin1(method);
    }
    void senselessAnswersReadAsEmpty() {
        QFETCH(const QString, method);
        FakeKeyring keyring;
        keyring.replies.insert(method, senseless);
        start(keyring);
        read();
        QTRY_COMPARE(m_reads, 1);
        QCOMPARE(m_secret, std::nullopt);
        QVERIFY(!m_slot->status().works);
    }

    void aSignOutHoldsUntilItIsSeen_data() {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QVariantList>("reply");
        QTest::newRow("hung") << u"SearchItems"_s << QVariantList();
        QTest::newRow("locked") << u"SearchItems"_s << QVariantList{paths({}), paths({u"/item"_s})};
        QTest::newRow("senseless") << u"Delete"_s << senseless;
        QTest::newRow("deletes nothing") << u"Delete"_s << QVariantList{path(u"/"_s)};
    }
    void aSignOutHoldsUntilItIsSeen() {
        QFETCH(const QString, method);
        QFETCH(const QVariantList, reply);
        FakeKeyring keyring;
        const auto good = keyring.replies.value(method);
        keyring.deletes = false;
        keyring.replies.insert(method, reply);
        if (reply.isEmpty())
            keyring.replies.remove(method);
        start(keyring);
        read();
        m_slot->remove();
        QTRY_VERIFY(keyring.calls.contains(method));
        QElapsedTimer time;
        time.start();
        m_slot.reset();
        QVERIFY(time.elapsed() < 1500);
        QVERIFY(QFile::exists(m_mark));

        keyring.deletes = true;
        keyring.replies.insert(method, good);
        start(keyring);
        read();
        QTRY_COMPARE(m_reads, 1);
        QCOMPARE(m_secret, std::nullopt);
        QTRY_VERIFY(!QFile::exists(m_mark));
        QVERIFY(keyring.calls.contains(u"Delete"_s));
    }

    void withoutABusItReadsAsEmpty() {
        start(QDBusConnection(u"none"_s));
        QVERIFY(!m_slot->status().works);
        m_slot->save("nowhere");
        read();
        QTRY_COMPARE(m_reads, 1);
        QCOMPARE(m_secret, std::nullopt);
    }
};

QTEST_GUILESS_MAIN(SecretServiceTest)
#include "tst_secretservice.moc"
