#include "base/MainQueue.h"
#include "platform/linux/SecretServiceSlot.h"
#include "support/Command.h"
#include "support/FakeService.h"

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace tavrik;
using namespace tavrik::test;

namespace {

QByteArray secretTool(const QString& command, const QByteArray& input = {}) {
    return output(u"secret-tool "_s + command + u" service io.nordvex.tavrik account supabase-session"_s,
                  input);
}

/// Finds the window in which the keyring asks for its password.
const auto question = u"xdotool search --onlyvisible --name ^Unlock.Login.Keyring$"_s;

QVariant path(const QString& text) {
    return QVariant::fromValue(QDBusObjectPath(text));
}

QVariant wrapped(const QVariant& value) {
    return QVariant::fromValue(QDBusVariant(value));
}

const auto none = QVariant::fromValue(QList<QDBusObjectPath>());
const auto one = QVariant::fromValue(QList{QDBusObjectPath(u"/one"_s)});

/// A keyring with whatever is wrong with it.
struct FakeKeyring : FakeService {
    FakeKeyring() : FakeService(u"org.freedesktop.secrets"_s) {}

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        const auto method =
            message.member() == u"Get" ? message.arguments().at(1).toString() : message.member();
        calls += method;
        if (method == u"Delete" && agrees)
            replies.insert(u"SearchItems"_s, {none, none});
        if (method == u"Prompt") {
            bus.send(QDBusMessage::createSignal(message.path(), message.interface(), u"Completed"_s)
                     << !agrees << wrapped(path(u"/one"_s)));
        }
        return replies.value(method).isEmpty() || bus.send(message.createReply(replies.value(method)));
    }

    bool agrees = false;
    /// Without one a method never answers.
    QHash<QString, QVariantList> replies{{u"OpenSession"_s, {wrapped(u""_s), path(u"/session"_s)}},
                                         {u"SearchItems"_s, {one, none}},
                                         {u"Collections"_s, {wrapped(one)}},
                                         {u"Locked"_s, {wrapped(false)}},
                                         {u"Prompt"_s, {u""_s}}};
};

} // namespace

class SecretServiceTest : public QObject {
    Q_OBJECT

    MainQueue m_queue;
    QTemporaryDir m_folder;
    const QString m_mark = m_folder.filePath(u"signed-out"_s);
    std::unique_ptr<SecretServiceSlot> m_slot;
    QByteArrayList m_delivered;

    void start(const QDBusConnection& bus = QDBusConnection::sessionBus()) {
        m_slot = std::make_unique<SecretServiceSlot>(m_queue, m_mark, bus);
        read();
    }
    void read() {
        m_delivered.clear();
        m_slot->read([this](const auto& secret) { m_delivered << secret.value_or("nothing"); });
    }

private Q_SLOTS:
    void keepsOneItemAndTheOrder() {
        secretTool(u"store --label=Other xdg:schema another"_s, "older");
        start();
        QTRY_COMPARE(m_delivered, QByteArrayList{"older"});
        m_slot->remove();
        m_slot->save("one");
        m_slot->save("دو");
        read();
        QTRY_COMPARE(m_delivered, QByteArrayList{"دو"});
        secretTool(u"store --label=Other xdg:schema another"_s, "older");
        m_slot->save("last words");
        m_slot.reset();
        QCOMPARE(secretTool(u"lookup xdg:schema io.nordvex.tavrik"_s), "last words");
        QCOMPARE(secretTool(u"search --all"_s).count("secret = "), 1);
    }

    void aLockedKeyringIsWaitedFor() {
        output(u"gdbus call --session -d org.freedesktop.secrets -o /org/freedesktop/secrets -m "
               "org.freedesktop.Secret.Service.Lock ['/org/freedesktop/secrets/collection/login']"_s);
        start();
        QTRY_VERIFY(!output(question).isEmpty());
        QVERIFY(m_delivered.isEmpty() && !m_slot->status().works);
        output(question + u" windowfocus --sync key t e s t Return"_s);
        QTRY_COMPARE_WITH_TIMEOUT(m_delivered, QByteArrayList{"last words"}, 20000);
        QVERIFY(m_slot->status().works);
        m_slot->remove();
        m_slot.reset();
        QVERIFY(secretTool(u"lookup"_s).isEmpty() && !QFile::exists(m_mark));
    }

    void whatALockedCollectionHidesIsWaitedFor() {
        FakeKeyring keyring;
        keyring.replies.insert({{u"SearchItems"_s, {none, none}}, {u"Locked"_s, {wrapped(true)}}});
        start(keyring.client());
        QTRY_VERIFY(keyring.calls.contains(u"Locked"_s));
        keyring.replies.insert({{u"SearchItems"_s, {one, none}}, {u"GetSecret"_s, {none}}});
        QTRY_COMPARE(m_delivered, QByteArrayList{"nothing"});
        QVERIFY(keyring.calls.contains(u"GetSecret"_s) && !keyring.calls.contains(u"Unlock"_s));
    }

    void createsAKeyringOnceTheUserAgrees() {
        FakeKeyring keyring;
        keyring.agrees = true;
        keyring.replies.insert({{u"SearchItems"_s, {none, none}}, {u"ReadAlias"_s, {path(u"/"_s)}}});
        for (const auto& method : {u"CreateCollection"_s, u"CreateItem"_s})
            keyring.replies.insert(method, {path(u"/"_s), path(u"/prompt"_s)});
        start(keyring.client());
        m_slot->save("one");
        QTRY_COMPARE(keyring.calls.count(u"SearchItems"_s), 2); // by the read, and for others after the save
    }

    // One that hangs, is locked, answers something senseless, asks the user, or only says that it is done.
    void aSignOutHoldsUntilItIsSeen() {
        for (const auto& method : {u"SearchItems"_s, u"Delete"_s}) {
            for (const auto& reply : {QVariantList(), {none, one}, {path(u"/"_s)}, {path(u"/prompt"_s)}}) {
                FakeKeyring keyring;
                keyring.replies.insert(method, reply);
                start(keyring.client());
                m_slot->remove();
                QTRY_VERIFY(keyring.calls.contains(method));
                QTest::qWait(50);
                const QDeadlineTimer limit(1500);
                m_slot.reset();
                QVERIFY(!limit.hasExpired() && keyring.calls.count(u"Delete"_s) < 2 &&
                        QFile::exists(m_mark) && m_delivered.isEmpty());

                keyring.agrees = true;
                keyring.replies.insert(
                    {{u"SearchItems"_s, {one, none}}, {u"Delete"_s, {path(u"/prompt"_s)}}});
                start(keyring.client());
                QTRY_COMPARE(m_delivered, QByteArrayList{"nothing"});
                QTRY_VERIFY(!QFile::exists(m_mark));
            }
        }
    }
};

QTEST_GUILESS_MAIN(SecretServiceTest)
#include "tst_secretservice.moc"
