#include "platform/portal/HoldTracker.h"
#include "platform/portal/ModifierRelease.h"
#include "support/FakePortal.h"

#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace tavrik;

/// When the keys of a portal's shortcut are up, where nobody tells.
class TestPortalKeys : public QObject {
    Q_OBJECT

private Q_SLOTS:
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
        const auto altSpace = u"dictate-2048-49"_s;
        const struct {
            QString shortcut, lastSignal;
            QList<int> inputs; // when something is let go, in milliseconds after the signal
            int least, most;
        } table[] = {
            {altSpace, u"Deactivated"_s, {}, 950, 1400},
            {altSpace, u"Deactivated"_s, {100, 250}, 410, 700},
            {altSpace, u"Deactivated"_s, {20}, 180, 450},
            {altSpace, u"Activated"_s, {50}, 210, 500}, // the modifier went up first
            {altSpace, u"Activated"_s, {}, 950, 1400},
            {u"dictate-0-49"_s, u"Deactivated"_s, {}, 0, 150},
        };
        FakePortal portal;
        ModifierRelease modifiers(portal.client());
        FakePortal::offer(u"org.gnome.Mutter.IdleMonitor"_s, true);
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
                portal.replies.insert(u"GetIdletime"_s, qulonglong(now() - last));
            });
            keyboard.start(1ms);
            FakePortal::sendShortcutSignal(row.lastSignal, row.shortcut, qulonglong(signalled));
            QTest::qWait(30);
            auto up = signalled;
            modifiers.whenUp(keyboard, [&] { up = now(); });
            QTRY_VERIFY(up != signalled);
            const auto taken = up - signalled;
            QVERIFY2(taken >= row.least && taken < row.most, qPrintable(QString::number(taken)));
        }
    }
};

QTEST_GUILESS_MAIN(TestPortalKeys)
#include "tst_portalkeys.moc"
