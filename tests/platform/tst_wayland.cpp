#include "platform/wayland/DataControlClipboard.h"
#include "platform/wayland/VirtualKeyboardPasteKeys.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WaylandKeyboard.h"
#include "support/Files.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <xkbcommon/xkbcommon-keysyms.h>

#include <csignal>
#include <memory>
#include <optional>

using namespace tavrik;
using namespace tavrik::test;
using namespace Qt::StringLiterals;

/// Each test has a sway of its own, without a screen.
class WaylandTest : public QObject {
    Q_OBJECT

    std::optional<QTemporaryDir> m_folder;
    QProcess m_sway;
    std::unique_ptr<WaylandConnection> m_connection;

    /// What the shell command prints.
    static QByteArray output(const QString& command) {
        QProcess shell;
        shell.start(u"sh"_s, {u"-c"_s, command});
        return QTest::qWaitFor([&shell] { return shell.state() == QProcess::NotRunning; }) ? shell.readAll()
                                                                                           : "too late";
    }

private Q_SLOTS:
    void init() {
        m_folder.emplace();
        const auto configuration = m_folder->filePath(u"config"_s);
        QVERIFY(writeFile(configuration, "xwayland disable\n"));
        for (const auto& [name, value] : {std::pair{"WLR_BACKENDS", "headless"},
                                          {"WLR_RENDERER", "pixman"},
                                          {"WLR_LIBINPUT_NO_DEVICES", "1"}})
            qputenv(name, value);
        qputenv("XDG_RUNTIME_DIR", m_folder->path().toLocal8Bit());
        qunsetenv("WAYLAND_DISPLAY");
        // It does not run as root, and must not outlive the test.
        m_sway.start(u"unshare"_s,
                     {u"--user"_s, u"--map-user=nobody"_s, u"--map-group=nogroup"_s, u"setpriv"_s,
                      u"--pdeathsig"_s, u"KILL"_s, u"sway"_s, u"-c"_s, configuration});
        QDir sockets(m_folder->path(), u"wayland-?"_s, {}, QDir::System);
        QTRY_VERIFY((sockets.refresh(), sockets.count() > 0));
        qputenv("WAYLAND_DISPLAY", sockets[0].toLatin1());
        m_connection = std::make_unique<WaylandConnection>();
        QVERIFY(m_connection->isConnected());
    }

    void cleanup() {
        m_connection.reset();
        m_sway.kill();
        m_sway.waitForFinished();
        m_folder.reset();
    }

    void servesSlowAndDeadReaders() {
        DataControlClipboard clipboard(*m_connection);
        QVERIFY(clipboard.status().works);
        clipboard.setText(QString(u"سلام "_s).repeated(100'000)); // 900,000 bytes, and a pipe holds 65,536
        QProcess slow;
        slow.start(u"sh"_s, {u"-c"_s, u"exec 3<&0; wl-paste -n | { head -c 1; read go <&3; wc -c; }"_s});
        QTRY_COMPARE(slow.bytesAvailable(), 1);
        QCOMPARE(output(u"wl-paste -n | head -c 1 | wc -c"_s), "1\n");
        QCOMPARE(output(u"wl-paste -n | wc -c"_s), "900000\n");
        clipboard.setText(u"another"_s);
        QCOMPARE(output(u"wl-paste -n -t UTF8_STRING"_s), "another");
        slow.write("\n");
        QTRY_COMPARE(slow.state(), QProcess::NotRunning);
        QVERIFY(slow.readAll().mid(1).trimmed().toInt() > 800'000);
    }

    void leavesTheSelectionToOthers() {
        DataControlClipboard clipboard(*m_connection);
        clipboard.setText(u"ours"_s);
        clipboard.offerAsSelection();
        QCOMPARE(output(u"wl-paste -n -p; wl-copy theirs; wl-copy -p theirs"_s), "ours");
        clipboard.offerAsSelection();
        QCOMPARE(output(u"wl-paste -n -p; wl-paste -n"_s), "theirstheirs");
    }

    void readsTheKeymap() {
        WaylandKeyboard keyboard(*m_connection);
        const VirtualKeyboardPasteKeys keys(*m_connection, [] {});
        QTRY_COMPARE(keyboard.keyFor(XKB_KEY_Insert), 110U);
        QCOMPARE(keyboard.keyFor(XKB_KEY_v), 47U);
        QCOMPARE(keyboard.keyFor(XKB_KEY_w), std::nullopt);
    }

    void outlivesTheCompositor() {
        DataControlClipboard clipboard(*m_connection);
        VirtualKeyboardPasteKeys keys(*m_connection, [] {});
        QVERIFY(keys.status().works);
        const QSignalSpy changed(&keys, &Service::statusChanged);
        m_sway.kill();
        QTRY_COMPARE(changed.size(), 1);
        QVERIFY(!clipboard.status().works && !keys.status().works);
        clipboard.setText(u"lost"_s);
        QString reason;
        keys.sendPaste([&reason](const Result<void>& outcome) { reason = outcome.error().description; });
        QCOMPARE(reason, WaylandConnection::disconnectedReason());
    }

    void doesNotWaitForAHungCompositor() {
        ::kill(static_cast<pid_t>(m_sway.processId()), SIGSTOP);
        const QDeadlineTimer limit(10'000);
        QVERIFY(!WaylandConnection().isConnected());
        QVERIFY(!limit.hasExpired());
        ::kill(static_cast<pid_t>(m_sway.processId()), SIGCONT);
    }
};

QTEST_GUILESS_MAIN(WaylandTest)
#include "tst_wayland.moc"
