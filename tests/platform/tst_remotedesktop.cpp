#include "platform/portal/PortalConnection.h"
#include "platform/portal/PortalGrants.h"
#include "platform/portal/RemoteDesktopPasteKeys.h"
#include "support/FakePortal.h"

#include <QDBusPendingCall>
#include <QFile>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace tavrik;

namespace {

const QStringList opening{u"CreateSession"_s, u"SelectDevices"_s, u"Start"_s};
const QStringList paste =
    QStringList{u"Lookup"_s} + opening + QStringList(4, u"NotifyKeyboardKeycode"_s) + QStringList{u"Close"_s};
const auto forgotten = u"org.freedesktop.portal.Error.NotFound"_s;

/// The program, from launch to launch.
struct Program {
    explicit Program(const FakePortal& portal) : connection(portal.client()), grants(portal.grantsPath()) {}

    /// The number of times that it was answered.
    int request(PermissionRequest request) {
        int answers = 0;
        keys.requestPermission(request, [&answers] { ++answers; });
        settle([&] { return answers > 0; });
        return answers;
    }

    /// The outcome of a paste: empty when the keys were sent.
    QString paste() {
        QStringList outcomes;
        keys.sendPaste([&outcomes](const Result<void>& outcome) {
            outcomes += outcome ? QString() : outcome.error().description;
        });
        settle([&] { return !outcomes.isEmpty(); });
        return outcomes.isEmpty() ? u"nothing"_s : outcomes.join(u'|');
    }

    /// Until that is done, and the portal has had all that was sent.
    void settle(const std::function<bool()>& done) const {
        std::ignore = QTest::qWaitFor(done, 10'000);
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

    std::unique_ptr<FakePortal> m_portal;
    std::unique_ptr<Program> m_program;

    void launch() {
        m_program.reset();
        m_program = std::make_unique<Program>(*m_portal);
        m_portal->calls.clear();
    }

    void give(const QString& token) {
        m_portal->responses.insert(u"Start"_s, {0, {{u"devices"_s, 1U}, {u"restore_token"_s, token}}});
    }

    QVariantMap selection() const { return m_portal->arguments.value(u"SelectDevices"_s).last().toMap(); }

private Q_SLOTS:
    void init() {
        m_program.reset();
        m_portal.reset();
        m_portal = std::make_unique<FakePortal>();
        m_portal->versions.insert(u"RemoteDesktop"_s, 2);
        m_portal->responses.insert(u"SelectDevices"_s, {});
        give(u"one"_s);
        launch();
    }

    void asksOnceAndPastesWithEachNewToken() {
        QCOMPARE(m_program->request(PermissionRequest::once), 1);
        QCOMPARE(m_portal->calls, opening + QStringList{u"Close"_s});
        QCOMPARE(selection().value(u"persist_mode"_s).toUInt(), 2U);
        QVERIFY(!selection().contains(u"restore_token"_s));
        QVERIFY(m_program->keys.status().works);
        QCOMPARE(QFile::permissions(m_portal->grantsPath()) & (QFile::ReadGroup | QFile::ReadOther),
                 QFile::Permissions());

        launch();
        QCOMPARE(m_program->request(PermissionRequest::once), 1);
        QCOMPARE(m_portal->calls, QStringList{u"Lookup"_s});
        for (const auto& [before, next] : {std::pair(u"one"_s, u"two"_s), std::pair(u"two"_s, u"three"_s)}) {
            m_portal->calls.clear();
            give(next);
            QCOMPARE(m_program->paste(), QString());
            QCOMPARE(m_portal->calls, paste);
            QCOMPARE(selection().value(u"restore_token"_s).toString(), before);
        }
        QCOMPARE(m_program->selections, 2);
        QCOMPARE(PortalGrants(m_portal->grantsPath()).pasteToken(), u"three"_s);
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
        QCOMPARE(m_portal->calls, QStringList{u"Lookup"_s});
        PortalGrants(m_portal->grantsPath()).setPasteToken(u"one"_s);
        launch();
        QCOMPARE(m_program->request(PermissionRequest::once), 1);
        QVERIFY(m_program->keys.status().reason.contains(u"no longer"_s));
        QCOMPARE(m_portal->calls, QStringList{u"Lookup"_s});
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
            QCOMPARE(m_program->request(PermissionRequest::byUser), 1);
            QVERIFY(!m_program->keys.status().works);
            QCOMPARE(m_program->paste(), m_program->keys.status().reason);
            QCOMPARE(m_portal->calls, QStringList());
        }
    }
};

QTEST_GUILESS_MAIN(TestRemoteDesktop)
#include "tst_remotedesktop.moc"
