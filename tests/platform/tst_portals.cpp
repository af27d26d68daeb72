#include "platform/KeyRepeat.h"
#include "platform/null/NullServices.h"
#include "platform/portal/FallbackHotKeyBackend.h"
#include "platform/portal/GlobalShortcutsBackend.h"
#include "platform/portal/HoldTracker.h"
#include "platform/portal/ModifierRelease.h"
#include "platform/portal/PortalConnection.h"
#include "platform/portal/PortalGrants.h"
#include "platform/portal/PortalShortcut.h"
#include "platform/portal/RemoteDesktopPasteKeys.h"
#include "support/FakePortal.h"

#include <QDBusPendingCall>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace tavrik;

namespace {

const auto id = u"dictate-2048-49"_s;
const QStringList opening{u"CreateSession"_s, u"SelectDevices"_s, u"Start"_s};
const QStringList paste =
    QStringList{u"Lookup"_s} + opening + QStringList(4, u"NotifyKeyboardKeycode"_s) + QStringList{u"Close"_s};
const auto forgotten = u"org.freedesktop.portal.Error.NotFound"_s;

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
    explicit Program(const FakePortal& portal) : connection(portal.client()), grants(portal.grantsPath()) {
        repeat.setSettings({true, 80ms, 10ms});
    }

    void registerHotKey(PermissionRequest request) {
        const auto note = [this](const QString& event) {
            return [this, event] {
                log += event;
            };
        };
        hotKey = backend.registerHotKey({49, KeyCombination::option}, request,
                                        {note(u"pressed"_s), note(u"released"_s), note(u"settled"_s)});
    }

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
    Repeat repeat;
    FallbackHotKeyBackend backend{std::make_unique<GlobalShortcutsBackend>(connection, grants, repeat),
                                  std::make_unique<NullHotKeyBackend>(u"fallback"_s)};
    QStringList log;
    std::unique_ptr<HotKeyBackend::Registration> hotKey;
    int selections = 0;
    RemoteDesktopPasteKeys keys{connection, grants, [this] {
                                    ++selections;
                                }};
};

} // namespace

class TestPortals : public QObject {
    Q_OBJECT

    std::unique_ptr<FakePortal> m_portal;
    std::unique_ptr<Program> m_program;

    void launch() {
        m_program.reset();
        m_program = std::make_unique<Program>(*m_portal);
        m_portal->calls.clear();
    }

    void registerHotKey(PermissionRequest request = PermissionRequest::once) {
        launch();
        m_program->registerHotKey(request);
        QTRY_COMPARE(m_program->log, QStringList{u"settled"_s});
        m_program->log.clear();
    }

    void respond(const QString& method, const QVariantMap& results) {
        m_portal->responses.insert(method, {0, results});
    }

    void give(const QString& token) {
        respond(u"Start"_s, {{u"devices"_s, 1U}, {u"restore_token"_s, token}});
    }

    ServiceStatus hotKeyStatus() const { return m_program->hotKey->status(); }

    QVariantMap selection() const { return m_portal->arguments.value(u"SelectDevices"_s).last().toMap(); }

private Q_SLOTS:
    void init() {
        m_program.reset();
        m_portal.reset();
        m_portal = std::make_unique<FakePortal>();
        m_portal->versions = {{u"GlobalShortcuts"_s, 1}, {u"RemoteDesktop"_s, 2}};
        respond(u"ListShortcuts"_s, {});
        m_portal->responses.insert(u"BindShortcuts"_s, {2, shortcuts(u"Alt+Space"_s)});
        respond(u"SelectDevices"_s, {});
        give(u"one"_s);
        launch();
    }

    void bindsAndFollowsTheKey() {
        registerHotKey();
        QTRY_VERIFY(hotKeyStatus().works);
        QCOMPARE(m_program->hotKey->assignedTrigger(), u"Alt+Space"_s);
        QCOMPARE(m_portal->calls, (QStringList{u"CreateSession"_s, u"ListShortcuts"_s, u"BindShortcuts"_s}));
        const auto bound = qdbus_cast<PortalShortcuts>(m_portal->arguments.value(u"BindShortcuts"_s).at(1));
        QCOMPARE(bound.first().properties.value(u"preferred_trigger"_s).toString(), u"ALT+space"_s);
        for (const auto& name : {u"Activated"_s, u"Activated"_s, u"Deactivated"_s, u"Deactivated"_s})
            FakePortal::sendShortcutSignal(name);
        FakePortal::sendShortcutSignal(u"Activated"_s, u"another"_s);
        FakePortal::sendShortcutSignal(u"Deactivated"_s, u"another"_s);
        FakePortal::sendShortcutSignal(u"Activated"_s);
        QTRY_COMPARE(m_program->log, (QStringList{u"pressed"_s, u"released"_s, u"pressed"_s}));
        FakePortal::bus().send(
            QDBusMessage::createSignal(u"/session"_s, u"org.freedesktop.portal.Session"_s, u"Closed"_s)
            << QVariantMap());
        QTRY_COMPARE(m_program->log.last(), u"released"_s);
        QVERIFY(!hotKeyStatus().works);
    }

    void asksForTheShortcutOnce() {
        m_portal->responses.remove(u"BindShortcuts"_s);
        m_program->registerHotKey(PermissionRequest::once);
        QTRY_VERIFY(m_program->grants.wasAskedForShortcut(id)); // the dialog is open when the program ends
        registerHotKey();
        QVERIFY(hotKeyStatus().reason.contains(u"not allowed"_s));
        QVERIFY(!m_portal->calls.contains(u"BindShortcuts"_s));
        respond(u"BindShortcuts"_s, shortcuts(u"Alt+Space"_s));
        registerHotKey(PermissionRequest::byUser);
        QTRY_VERIFY(hotKeyStatus().works);
        registerHotKey(); // given, but not listed
        QVERIFY(m_portal->calls.contains(u"BindShortcuts"_s));
        respond(u"ListShortcuts"_s, shortcuts(u"Alt+Space"_s));
        registerHotKey();
        QTRY_VERIFY(hotKeyStatus().works);
        QVERIFY(!m_portal->calls.contains(u"BindShortcuts"_s));
    }

    void saysWhatIsWrong() {
        const std::pair<QVariantMap, QString> table[] = {
            {{}, u"not allowed"_s},
            {shortcuts({}), u"no keys"_s},
            {shortcuts(u"Alt+Space"_s), u"“Window menu” of KWin"_s},
            {shortcuts(u"Alt+Leertaste"_s), u"“Window menu” of KWin"_s},
        };
        FakePortal::bus().registerService(u"org.kde.kglobalaccel"_s);
        m_portal->replies.insert(u"action"_s, QStringList{u"kwin"_s, u"Menu"_s, u"KWin"_s, u"Window menu"_s});
        for (const auto& [results, reason] : table) {
            respond(u"BindShortcuts"_s, results);
            registerHotKey(PermissionRequest::byUser);
            QTRY_VERIFY2(hotKeyStatus().reason.contains(reason), qPrintable(reason));
            QVERIFY(!hotKeyStatus().works);
        }
        QCOMPARE(m_portal->arguments.value(u"action"_s).first().toInt(), int(Qt::ALT) | Qt::Key_Space);
    }

    void followsThePortalsComingAndGoing() {
        m_portal->versions.clear();
        registerHotKey();
        QTRY_COMPARE(hotKeyStatus().reason, u"fallback"_s);
        m_portal->versions.insert(u"GlobalShortcuts"_s, 1);
        FakePortal::bus().unregisterService(FakePortal::service());
        FakePortal::bus().registerService(FakePortal::service());
        QTRY_VERIFY(hotKeyStatus().works);
        FakePortal::sendShortcutSignal(u"Activated"_s);
        QTRY_COMPARE(m_program->log, QStringList{u"pressed"_s});
        FakePortal::bus().unregisterService(FakePortal::service());
        QTRY_COMPARE(m_program->log.last(), u"released"_s);
    }

    void endsAHoldWithoutARelease() {
        FakePortal::bus().registerService(u"org.gnome.Shell"_s);
        registerHotKey();
        FakePortal::sendShortcutSignal(u"Activated"_s);
        QTRY_COMPARE_WITH_TIMEOUT(m_program->log, (QStringList{u"pressed"_s, u"released"_s}), 1000);
        m_program->repeat.setSettings({.enabled = false});
        QVERIFY(m_program->hotKey->endsOnSecondPress());
        FakePortal::sendShortcutSignal(u"Activated"_s);
        QTRY_COMPARE(m_program->log.size(), 3);
        m_program->hotKey->setRecording(true);
        FakePortal::sendShortcutSignal(u"Activated"_s);
        QTRY_COMPARE(m_program->log.mid(2), (QStringList{u"pressed"_s, u"released"_s}));
    }

    void findsTheEndOfAHold() {
        // Presses, and repeats of the key in between.
        const auto run = [](QList<int> times, int first, int last, int interval = 30) {
            for (int time = first; time <= last; time += interval)
                times += time;
            return times;
        };
        const KeyRepeat::Settings usual{true, 500ms, 33ms};
        const struct {
            const char* name;
            std::optional<KeyRepeat::Settings> repeat;
            QList<int> activations;
            int released;
            int busyUntil = 0; // the compositor
        } table[] = {
            {"a hold", usual, run({0}, 500, 2000), 2200},
            {"slow repeats", {{true, 1000ms, 200ms}}, run({0}, 1000, 3000, 200), 3880},
            {"a late repeat", usual, run(run({0}, 500, 980), 1100, 2000), 2200},
            {"a busy compositor", usual, run(run({0}, 500, 980), 1700, 2000), 2200, 1690},
            {"pressed again before it repeats", usual, run({0, 250}, 750, 1500), 1700},
            {"pressed again soon after", usual, run(run({0}, 500, 980) + QList{1090}, 1590, 2000), 2200},
            {"no repeats", {{false, 500ms, 33ms}}, {0, 4000}, 4000},
            {"releases are told", {}, {0, 600, 700}, -1},
        };
        for (const auto& row : table) {
            HoldTracker hold;
            hold.setRepeat(row.repeat);
            hold.setRecording(true);
            int end = -1;
            bool doubted = false;
            for (int time = 0; end < 0 && time < 6000; ++time) {
                const HoldTracker::TimePoint now{time * 1ms};
                auto event = row.activations.contains(time) ? hold.activated(now) : hold.timePassed(now);
                doubted |= event == HoldTracker::Event::doubted;
                if (doubted && time >= row.busyUntil) {
                    doubted = false;
                    event = hold.answered(now);
                }
                if (event == HoldTracker::Event::released)
                    end = time;
            }
            QVERIFY2(qAbs(end - row.released) <= 40, row.name);
        }
    }

    void findsTheEndOfTheModifiers() {
        const struct {
            QString shortcut, lastSignal;
            QList<int> inputs; // when something is let go, in milliseconds after the signal
            int least, most;
            bool portalEnds = false, areUp = true;
        } table[] = {
            {id, u"Deactivated"_s, {}, 950, 1400},
            {id, u"Deactivated"_s, {100, 250}, 410, 700},
            {id, u"Activated"_s, {50}, 210, 500}, // the modifier went up first
            {id, u"Activated"_s, {1150}, 1310, 1600, true},
            {id, u"Activated"_s, {1050, 1200, 1350, 1500, 1650, 1800, 1950, 2100}, 2050, 2500, true, false},
            {u"dictate-0-49"_s, u"Deactivated"_s, {}, 0, 150},
        };
        ModifierRelease modifiers(m_portal->client());
        FakePortal::bus().registerService(u"org.gnome.Mutter.IdleMonitor"_s);
        for (const auto& row : table) {
            const auto now = [] {
                return std::chrono::steady_clock::now().time_since_epoch() / 1ms;
            };
            const auto signalled = now();
            QTimer keyboard;
            keyboard.callOnTimeout([&] {
                auto last = signalled;
                for (const auto input : row.inputs)
                    last = signalled + input <= now() ? signalled + input : last;
                m_portal->replies.insert(u"GetIdletime"_s, qulonglong(now() - last));
            });
            keyboard.start(1ms);
            FakePortal::sendShortcutSignal(row.lastSignal, row.shortcut, qulonglong(signalled));
            QTest::qWait(row.portalEnds ? 1100 : 30);
            if (row.portalEnds)
                modifiers.portalVanished();
            std::optional<bool> areUp;
            modifiers.whenUp(keyboard, [&areUp](bool up) { areUp = up; });
            QTRY_VERIFY(areUp == row.areUp);
            const auto taken = now() - signalled;
            QVERIFY2(taken >= row.least && taken < row.most, qPrintable(QString::number(taken)));
        }
    }

    void asksForPastingOnceAndPastesWithEachNewToken() {
        QCOMPARE(m_program->request(PermissionRequest::once), 1);
        QCOMPARE(m_portal->calls, opening + QStringList{u"Close"_s});
        QCOMPARE(selection().value(u"persist_mode"_s).toUInt(), 2U);
        QVERIFY(!selection().contains(u"restore_token"_s));
        QVERIFY(m_program->keys.status().works);
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

    void pastesAfterTheEndOfAPortal() {
        m_program->request(PermissionRequest::once);
        m_portal->responses.remove(u"SelectDevices"_s);
        QTimer::singleShot(50, this, [&] { FakePortal::bus().unregisterService(FakePortal::service()); });
        QVERIFY(m_program->paste().contains(u"ended"_s));
        QVERIFY(!m_program->paste().isEmpty());
        FakePortal::bus().registerService(FakePortal::service());
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

QTEST_GUILESS_MAIN(TestPortals)
#include "tst_portals.moc"
