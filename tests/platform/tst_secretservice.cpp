#include "base/MainQueue.h"
#include "platform/linux/SecretServiceSlot.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDataStream>
#include <QLocalSocket>
#include <QProcess>
#include <QTest>

#include <csignal>

using namespace tavrik;

namespace {

const QStringList attributes{QStringLiteral("service"), QStringLiteral("io.nordvex.tavrik"),
                             QStringLiteral("account"), QStringLiteral("supabase-session")};

/// Runs to the end; its output, or a null array if it failed.
QByteArray run(const QString& program, const QStringList& arguments, const QByteArray& input = {}) {
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished() || process.exitCode() != 0)
        return {};
    const auto output = process.readAllStandardOutput();
    return output.isNull() ? QByteArray("") : output;
}

QByteArray secretTool(const QString& command, const QStringList& options = {}, const QByteArray& input = {}) {
    return run(QStringLiteral("secret-tool"), QStringList(command) + options + attributes, input);
}

bool storeByAnother(const QByteArray& secret) {
    return !secretTool(QStringLiteral("store"), {QStringLiteral("--label=Other")}, secret).isNull();
}

qsizetype itemCount() {
    return secretTool(QStringLiteral("search"), {QStringLiteral("--all")}).count("secret = ");
}

QDBusMessage callService(const QString& method, const QList<QVariant>& arguments) {
    auto call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.secrets"),
                                               QStringLiteral("/org/freedesktop/secrets"),
                                               QStringLiteral("org.freedesktop.Secret.Service"), method);
    call.setArguments(arguments);
    return QDBusConnection::sessionBus().call(call);
}

bool lockKeyring() {
    const QDBusObjectPath login(QStringLiteral("/org/freedesktop/secrets/collection/login"));
    const auto reply =
        callService(QStringLiteral("Lock"), {QVariant::fromValue(QList<QDBusObjectPath>{login})});
    return reply.type() == QDBusMessage::ReplyMessage;
}

/// As a login does, over the daemon's own socket: the slot under test is not asked.
bool unlockKeyring() {
    QLocalSocket control;
    control.connectToServer(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/keyring/control"));
    QByteArray request;
    QDataStream stream(&request, QIODevice::WriteOnly);
    const QByteArray password("test");
    const quint32 unlock = 1;
    stream << quint8(0) << quint32(3 * sizeof(quint32) + password.size()) << unlock << password;
    control.write(request);
    while (control.bytesAvailable() < 8 && control.waitForReadyRead()) {
    }
    return control.readAll() == QByteArray("\0\0\0\x08\0\0\0\0", 8);
}

/// The windows in which the keyring asks for its password, by number.
QStringList questions() {
    const auto windows =
        run(QStringLiteral("xdotool"), {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                        QStringLiteral("--name"), QStringLiteral("^Unlock Login Keyring$")});
    return QString::fromLatin1(windows).split(u'\n', Qt::SkipEmptyParts);
}

bool type(const QString& window, const QStringList& what) {
    return !run(QStringLiteral("xdotool"), {QStringLiteral("windowfocus"), QStringLiteral("--sync"), window})
                .isNull() &&
           !run(QStringLiteral("xdotool"), what).isNull();
}

bool answerQuestion() {
    const auto window = questions().value(0);
    return type(window, {QStringLiteral("type"), QStringLiteral("test")}) &&
           type(window, {QStringLiteral("key"), QStringLiteral("Return")});
}

bool dismissQuestion() {
    return type(questions().value(0), {QStringLiteral("key"), QStringLiteral("Escape")}) &&
           QTest::qWaitFor([] { return questions().isEmpty(); });
}

pid_t keyringProcess() {
    return static_cast<pid_t>(QDBusConnection::sessionBus()
                                  .interface()
                                  ->servicePid(QStringLiteral("org.freedesktop.secrets"))
                                  .value());
}

/// While it lives the keyring answers nobody.
struct HungKeyring {
    HungKeyring() : process(keyringProcess()) { kill(process, SIGSTOP); }
    ~HungKeyring() { kill(process, SIGCONT); }
    const pid_t process;
};

} // namespace

class SecretServiceTest : public QObject {
    Q_OBJECT

    MainQueue m_queue;

    struct Outcome {
        int calls = 0;
        std::optional<QByteArray> secret;
    };

    static SecureSlot::ReadCompletion into(Outcome& outcome) {
        return [&outcome](std::optional<QByteArray> secret) {
            ++outcome.calls;
            outcome.secret = std::move(secret);
        };
    }

private Q_SLOTS:
    void init() {
        QVERIFY(unlockKeyring());
        secretTool(QStringLiteral("clear"));
        QCOMPARE(itemCount(), 0);
    }

    void keepsOneItemAndTheOrder() {
        QVERIFY(storeByAnother("not a session"));
        Outcome first;
        Outcome second;
        {
            SecretServiceSlot slot(m_queue, KEYRING_PROGRAM);
            slot.read(into(first));
            QCOMPARE(first.calls, 0);
            QTRY_COMPARE(first.calls, 1);
            QCOMPARE(first.secret, QByteArray("not a session"));
            slot.remove();
            slot.save("one");
            slot.save("دو");
            slot.read(into(second));
            QTRY_COMPARE(second.calls, 1);
            QCOMPARE(second.secret, QByteArray("دو"));
            slot.save("last words");
        }
        // What was asked for is done, although the slot is gone.
        QCOMPARE(secretTool(QStringLiteral("lookup")), QByteArray("last words"));
        QCOMPARE(itemCount(), 1);
        SecretServiceSlot(m_queue, KEYRING_PROGRAM).remove();
        QCOMPARE(itemCount(), 0);
    }

    void aLockedKeyringIsWaitedFor_data() {
        QTest::addColumn<bool>("answered");
        QTest::newRow("unlocked by answering the question") << true;
        QTest::newRow("unlocked in another way") << false;
    }

    void aLockedKeyringIsWaitedFor() {
        QFETCH(bool, answered);
        QVERIFY(storeByAnother("kept"));
        QVERIFY(lockKeyring());
        SecretServiceSlot slot(m_queue, KEYRING_PROGRAM);
        Outcome outcome;
        slot.read(into(outcome));
        QTRY_COMPARE(questions().size(), 1);
        QCOMPARE(outcome.calls, 0);

        QVERIFY(answered ? answerQuestion() : unlockKeyring());
        QTRY_COMPARE_WITH_TIMEOUT(outcome.calls, 1, 20000);
        QCOMPARE(outcome.secret, QByteArray("kept"));
        QVERIFY(answered || dismissQuestion());
    }

    void aCancelledReadIsNotDelivered() {
        QVERIFY(storeByAnother("kept"));
        QVERIFY(lockKeyring());
        SecretServiceSlot slot(m_queue, KEYRING_PROGRAM);
        Outcome cancelled;
        slot.read(into(cancelled));
        QTRY_COMPARE(questions().size(), 1);
        slot.cancelRead();
        QVERIFY(dismissQuestion());
        QVERIFY(unlockKeyring());

        Outcome next;
        slot.read(into(next));
        QTRY_COMPARE(next.calls, 1);
        QCOMPARE(next.secret, QByteArray("kept"));
        QCOMPARE(cancelled.calls, 0);
    }

    void noBusReadsAsEmpty() {
        const auto bus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
        const auto runtime = qgetenv("XDG_RUNTIME_DIR");
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("XDG_RUNTIME_DIR");
        SecretServiceSlot slot(m_queue, KEYRING_PROGRAM);
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus);
        qputenv("XDG_RUNTIME_DIR", runtime);
        Outcome outcome;
        slot.save("nowhere");
        slot.read(into(outcome));
        QTRY_COMPARE(outcome.calls, 1);
        QCOMPARE(outcome.secret, std::nullopt);
    }

    void aHungKeyringHoldsUpNobody() {
        Outcome outcome;
        const HungKeyring hung;
        {
            SecretServiceSlot slot(m_queue, KEYRING_PROGRAM);
            slot.read(into(outcome));
            slot.save("late");
        }
        QCoreApplication::processEvents();
        QCOMPARE(outcome.calls, 0);
    }
};

QTEST_GUILESS_MAIN(SecretServiceTest)
#include "tst_secretservice.moc"
