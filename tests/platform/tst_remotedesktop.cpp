#include "platform/portal/PortalConnection.h"
#include "platform/portal/PortalGrants.h"
#include "platform/portal/RemoteDesktopPasteKeys.h"
#include "support/FakePortal.h"

#include <QDBusPendingCall>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace tavrik;

namespace {

const QStringList opening{u"CreateSession"_s, u"SelectDevices"_s, u"Start"_s};
const QStringList paste =
    QStringList{u"Lookup"_s} + opening + QStringList(4, u"NotifyKeyboardKeycode"_s) + QStringList{u"Close"_s};
const auto forgotten = u"org.freedesktop.portal.Error.NotFound"_s;

/// The program, from launch to launch.
struct Program {
    explicit Program(const FakePortal& portal, const QString& path)
        : connection(portal.client()), grants(path) {}

    /// The number of times that it was answered.
    int request(PermissionRequest request) {
        int answers = 0;
        keys.requestPermission(request, [&answers] { ++answers; });
        const auto answered = QTest::qWaitFor([&] { return answers > 0; }, 10'000);
        settle();
        return answered ? answers : 0;
    }

    /// The outcome of a paste: empty when the keys were sent.
    QString paste() {
        QStringList outcomes;
        keys.sendPaste([&outcomes](const Result<void>& outcome) {
            outcomes += outcome ? QString() : outcome.error().description;
        });
        if (!QTest::qWaitFor([&] { return !outcomes.isEmpty(); }, 10'000))
            return u"nothing"_s;
        settle();
        return outcomes.join(u'|');
    }

    /// Until the portal has had all that was sent.
    void settle() const {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        const auto ping = connection.bus().asyncCall(
            QDBusMessage::createMethodCall(FakePortal::service(), u"/"_s, u"test.Settle"_s, u"Ping"_s));
        std::ignore = QTest::qWaitFor([&] { return ping.isFinished(); });
    }

    PortalConnection connection;
    PortalGrants grants;
    int selections = 0;
    RemoteDesktopPasteKeys keys{connection, grants, [this] {
                                    ++selections;
                                }};
};

} // namespace

class TestRemoteDesktop : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    QString m_path;
    std::unique_ptr<FakePortal> m_portal;
    std::unique_ptr<Program> m_program;

    void launch() {
        m_program.reset();
        m_program = std::make_unique<Program>(*m_portal, m_path);
    }

    void give(const QString& token) {
        m_portal->responses.insert(u"Start"_s, {0, {{u"devices"_s, 1U}, {u"restore_token"_s, token}}});
    }

private Q_SLOTS:
    void init() {
        static int number = 0;
        m_path = m_folder.filePath(u"%1/portals.json"_s.arg(++number));
        m_portal = std::make_unique<FakePortal>();
        m_portal->versions.insert(u"RemoteDesktop"_s, 2);
        m_portal->responses = {{u"CreateSession"_s, {0, {{u"session_handle"_s, u"/session"_s}}}},
                               {u"SelectDevices"_s, {}}};
        give(u"one"_s);
        launch();
    }

    void cleanup() {
        m_program.reset();
        m_portal.reset();
    }

    void asksOnceAndPastesWithEachNewToken() {
        QCOMPARE(m_program->request(PermissionRequest::once), 1);
        QCOMPARE(m_portal->calls, opening + QStringList{u"Close"_s});
        const auto options = m_portal->arguments.value(u"SelectDevices"_s).last().toMap();
        QCOMPARE(options.value(u"persist_mode"_s).toUInt(), 2U);
        QVERIFY(!options.contains(u"restore_token"_s));
        QVERIFY(m_program->keys.status().works);
        QCOMPARE(QFile::permissions(m_path) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());

        launch();
        m_portal->calls.clear();
        QCOMPARE(m_program->request(PermissionRequest::once), 1);
        QCOMPARE(m_portal->calls, QStringList{u"Lookup"_s});
        for (const auto& [before, next] : {std::pair(u"one"_s, u"two"_s), std::pair(u"two"_s, u"three"_s)}) {
            m_portal->calls.clear();
            give(next);
            QCOMPARE(m_program->paste(), QString());
            QCOMPARE(m_portal->calls, paste);
            QCOMPARE(m_portal->arguments.value(u"SelectDevices"_s)
                         .last()
                         .toMap()
                         .value(u"restore_token"_s)
                         .toString(),
                     before);
        }
        QCOMPARE(m_program->selections, 2);
        QCOMPARE(PortalGrants(m_path).pasteToken(), u"three"_s);
    }

    void asksAgainOnlyWhenTheUserWants() {
        m_portal->responses.insert(u"Start"_s, {1});
        QCOMPARE(m_program->request(PermissionRequest::once), 1);
        launch();
        m_portal->calls.clear();
        QCOMPARE(m_program->request(PermissionRequest::once), 1);
        QVERIFY(!m_program->keys.status().works);
        QCOMPARE(m_program->paste(), m_program->keys.status().reason);
        QCOMPARE(m_portal->calls, QStringList());
        give(u"one"_s);
        QCOMPARE(m_program->request(PermissionRequest::byUser), 1);
        QVERIFY(m_program->keys.status().works);
    }

    void neverShowsADialogAtAPaste() {
        m_program->request(PermissionRequest::once);
        // A desktop that does not say whether it knows the token, and would ask.
        m_portal->errors.insert(u"Lookup"_s, u"org.freedesktop.DBus.Error.ServiceUnknown"_s);
        m_portal->responses.remove(u"Start"_s);
        m_portal->calls.clear();
        QVERIFY(!m_program->paste().isEmpty());
        QCOMPARE(m_portal->calls.mid(4), QStringList(2, u"Close"_s)); // of the request and of the session
        // One that has forgotten it, as seen at a paste and at a launch.
        m_portal->errors.insert(u"Lookup"_s, forgotten);
        m_portal->calls.clear();
        QVERIFY(m_program->paste().contains(u"no longer"_s));
        QVERIFY(!m_program->keys.status().works);
        PortalGrants(m_path).setPasteToken(u"one"_s);
        launch();
        QCOMPARE(m_program->request(PermissionRequest::once), 1);
        QVERIFY(m_program->keys.status().reason.contains(u"no longer"_s));
        QCOMPARE(m_portal->calls, QStringList(2, u"Lookup"_s));
    }

    void waitsForTheModifiersOfTheShortcut() {
        struct Case {
            QString shortcut;
            /// Since the last input, and whether there is more of it soon.
            qulonglong idle;
            bool moves;
            int least;
            int most;
        };
        FakePortal::offer(u"org.gnome.Mutter.IdleMonitor"_s, true);
        m_program->request(PermissionRequest::once);
        for (const auto& [shortcut, idle, moves, least, most] :
             {Case{u"dictate-2048-49"_s, 60'000, false, 900, 2000},
              Case{u"dictate-2048-49"_s, 60'000, true, 250, 800},
              Case{u"dictate-2048-49"_s, 0, false, 0, 250}, Case{u"dictate-0-49"_s, 60'000, false, 0, 250}}) {
            const auto time = std::chrono::steady_clock::now().time_since_epoch() / 1ms;
            m_portal->replies.insert(u"GetIdletime"_s, idle);
            QDBusConnection(u"portal"_s)
                .send(QDBusMessage::createSignal(u"/org/freedesktop/portal/desktop"_s,
                                                 u"org.freedesktop.portal.GlobalShortcuts"_s,
                                                 u"Deactivated"_s)
                      << QVariant::fromValue(QDBusObjectPath(u"/s"_s)) << shortcut << qulonglong(time)
                      << QVariantMap());
            QTest::qWait(30);
            if (moves)
                QTimer::singleShot(200, this, [&] { m_portal->replies.insert(u"GetIdletime"_s, 0ULL); });
            QElapsedTimer timer;
            timer.start();
            QCOMPARE(m_program->paste(), QString());
            QVERIFY2(timer.elapsed() >= least && timer.elapsed() < most,
                     qPrintable(QString::number(timer.elapsed())));
        }
    }

    void outlivesThePortal() {
        m_program->request(PermissionRequest::once);
        m_portal->responses.remove(u"SelectDevices"_s);
        QTimer::singleShot(50, this, [&] { FakePortal::offer(FakePortal::service(), false); });
        QVERIFY(m_program->paste().contains(u"ended"_s));
        QVERIFY(!m_program->paste().isEmpty());
        FakePortal::offer(FakePortal::service(), true);
        m_portal->responses.insert(u"SelectDevices"_s, {});
        QCOMPARE(m_program->paste(), QString());
    }

    void needsAVersionThatRemembers() {
        for (const uint version : {0U, 1U}) {
            m_portal->versions.insert(u"RemoteDesktop"_s, version);
            launch();
            QCOMPARE(m_program->request(PermissionRequest::once), 1);
            QCOMPARE(m_program->request(PermissionRequest::byUser), 1);
            QVERIFY(!m_program->keys.status().works);
            QCOMPARE(m_program->paste(), m_program->keys.status().reason);
            QCOMPARE(m_portal->calls, QStringList());
        }
    }
};

QTEST_GUILESS_MAIN(TestRemoteDesktop)
#include "tst_remotedesktop.moc"
