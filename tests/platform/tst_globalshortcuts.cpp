#include "platform/KeyRepeat.h"
#include "platform/null/NullServices.h"
#include "platform/portal/FallbackHotKeyBackend.h"
#include "platform/portal/GlobalShortcutsBackend.h"
#include "platform/portal/PortalConnection.h"
#include "platform/portal/PortalGrants.h"
#include "platform/portal/PortalShortcut.h"
#include "support/FakePortal.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace tavrik;

namespace {

constexpr KeyCombination altSpace{49, KeyCombination::option};
const auto id = u"dictate-2048-49"_s;

QVariantMap shortcuts(const QString& trigger) {
    return {
        {u"shortcuts"_s, QVariant::fromValue(PortalShortcuts{{id, {{u"trigger_description"_s, trigger}}}})}};
}

class Repeat : public KeyRepeat {
public:
    using KeyRepeat::setSettings;
};

/// The program, from launch to launch.
struct Program {
    Program(const FakePortal& portal, PermissionRequest request)
        : connection(portal.client()), grants(portal.grantsPath()) {
        repeat.setSettings({true, 80ms, 10ms});
        hotKey = backend.registerHotKey(altSpace, request,
                                        {[this] { log += u"pressed"_s; }, [this] { log += u"released"_s; },
                                         [this] {
                                             log += u"settled"_s;
                                         }});
    }

    PortalConnection connection;
    PortalGrants grants;
    Repeat repeat;
    FallbackHotKeyBackend backend{std::make_unique<GlobalShortcutsBackend>(connection, grants, repeat),
                                  std::make_unique<NullHotKeyBackend>(u"fallback"_s)};
    QStringList log;
    std::unique_ptr<HotKeyBackend::Registration> hotKey;
};

} // namespace

class TestGlobalShortcuts : public QObject {
    Q_OBJECT

    std::unique_ptr<FakePortal> m_portal;
    std::unique_ptr<Program> m_program;

    void launch(PermissionRequest request = PermissionRequest::once) {
        m_program.reset();
        m_portal->calls.clear();
        m_program = std::make_unique<Program>(*m_portal, request);
        QTRY_COMPARE(m_program->log, QStringList{u"settled"_s});
        m_program->log.clear();
    }

    static void send(const QString& name, const QString& shortcut = id) {
        FakePortal::sendShortcutSignal(name, shortcut);
    }

    void respond(const QString& method, const QVariantMap& results) {
        m_portal->responses.insert(method, {0, results});
    }

    ServiceStatus status() const { return m_program->hotKey->status(); }

private Q_SLOTS:
    void init() {
        m_program.reset();
        m_portal.reset();
        m_portal = std::make_unique<FakePortal>();
        m_portal->versions.insert(u"GlobalShortcuts"_s, 1);
        respond(u"ListShortcuts"_s, {});
        m_portal->responses.insert(u"BindShortcuts"_s, {2, shortcuts(u"Alt+Space"_s)});
    }

    void bindsAndFollowsTheKey() {
        launch();
        QTRY_VERIFY(status().works);
        QCOMPARE(m_program->hotKey->assignedTrigger(), u"Alt+Space"_s);
        QCOMPARE(m_portal->calls, (QStringList{u"CreateSession"_s, u"ListShortcuts"_s, u"BindShortcuts"_s}));
        const auto bound = qdbus_cast<PortalShortcuts>(m_portal->arguments.value(u"BindShortcuts"_s).at(1));
        QCOMPARE(bound.first().properties.value(u"preferred_trigger"_s).toString(), u"ALT+space"_s);
        for (const auto& name : {u"Activated"_s, u"Activated"_s, u"Deactivated"_s, u"Deactivated"_s})
            send(name);
        send(u"Activated"_s, u"another"_s);
        send(u"Deactivated"_s, u"another"_s);
        send(u"Activated"_s);
        QTRY_COMPARE(m_program->log, (QStringList{u"pressed"_s, u"released"_s, u"pressed"_s}));
        QDBusConnection(u"portal"_s)
            .send(QDBusMessage::createSignal(u"/session"_s, u"org.freedesktop.portal.Session"_s, u"Closed"_s)
                  << QVariantMap());
        QTRY_COMPARE(m_program->log.last(), u"released"_s);
        QVERIFY(!status().works);
    }

    void asksTheUserOnce() {
        m_portal->responses.remove(u"BindShortcuts"_s);
        m_program = std::make_unique<Program>(*m_portal, PermissionRequest::once);
        QTRY_VERIFY(m_program->grants.wasAskedForShortcut(id)); // the dialog is open when the program ends
        launch();
        QVERIFY(status().reason.contains(u"not allowed"_s));
        QVERIFY(!m_portal->calls.contains(u"BindShortcuts"_s));
        respond(u"BindShortcuts"_s, shortcuts(u"Alt+Space"_s));
        launch(PermissionRequest::byUser);
        QTRY_VERIFY(status().works);
        launch(); // given, but not listed
        QVERIFY(m_portal->calls.contains(u"BindShortcuts"_s));
        respond(u"ListShortcuts"_s, shortcuts(u"Alt+Space"_s));
        launch();
        QTRY_VERIFY(status().works);
        QVERIFY(!m_portal->calls.contains(u"BindShortcuts"_s));
    }

    void saysWhatIsWrong() {
        const std::pair<QVariantMap, QString> table[] = {
            {{}, u"not allowed"_s},
            {shortcuts({}), u"no keys"_s},
            {shortcuts(u"Alt+Space"_s), u"“Window menu” of KWin"_s},
            {shortcuts(u"Alt+Leertaste"_s), u"“Window menu” of KWin"_s},
        };
        FakePortal::offer(u"org.kde.kglobalaccel"_s, true);
        m_portal->replies.insert(u"action"_s, QStringList{u"kwin"_s, u"Menu"_s, u"KWin"_s, u"Window menu"_s});
        for (const auto& [results, reason] : table) {
            respond(u"BindShortcuts"_s, results);
            launch(PermissionRequest::byUser);
            QTRY_VERIFY2(status().reason.contains(reason), qPrintable(reason));
            QVERIFY(!status().works);
        }
        QCOMPARE(m_portal->arguments.value(u"action"_s).first().toInt(), int(Qt::ALT) | Qt::Key_Space);
    }

    void thePortalsEndEndsAHold() {
        launch();
        send(u"Activated"_s);
        QTRY_COMPARE(m_program->log, QStringList{u"pressed"_s});
        FakePortal::offer(FakePortal::service(), false);
        QTRY_COMPARE(m_program->log.last(), u"released"_s);
    }

    void givesWayWhereThereIsNoPortal() {
        m_portal->versions.clear();
        launch();
        QTRY_COMPARE(status().reason, u"fallback"_s);
        m_portal->versions.insert(u"GlobalShortcuts"_s, 1);
        FakePortal::offer(FakePortal::service(), false);
        FakePortal::offer(FakePortal::service(), true);
        QTRY_VERIFY(status().works);
        QCOMPARE(m_program->log, QStringList());
    }

    void endsAHoldWithoutARelease() {
        FakePortal::offer(u"org.gnome.Shell"_s, true);
        launch();
        send(u"Activated"_s);
        QTRY_COMPARE_WITH_TIMEOUT(m_program->log, (QStringList{u"pressed"_s, u"released"_s}), 1000);
        m_program->repeat.setSettings({.enabled = false});
        QVERIFY(m_program->hotKey->endsOnSecondPress());
        send(u"Activated"_s);
        QTRY_COMPARE(m_program->log.size(), 3);
        m_program->hotKey->setRecording(true);
        send(u"Activated"_s);
        QTRY_COMPARE(m_program->log.mid(2), (QStringList{u"pressed"_s, u"released"_s}));
    }
};

QTEST_GUILESS_MAIN(TestGlobalShortcuts)
#include "tst_globalshortcuts.moc"
