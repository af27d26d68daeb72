#include "base/MainQueue.h"
#include "capture/CommandHotKey.h"

#include <QTest>

using namespace tavrik;

/// A binding is pressed (p), released (r) or toggles (t) at these milliseconds; "end" is the panel's button.
/// What begins a recording is marked [, or ( where a second press must end it; what ends it ].
class CommandHotKeyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void holds_data() {
        QTest::addColumn<QString>("marks");
        QTest::newRow("p0 r1 p20 r70") << "[ ] [ ]";
        QTest::newRow("p0 p600 p640 p680 r700 p900 r5000") << "[ ] [ ]";
        // The release is lost.
        QTest::newRow("p0 p5000 p8000") << "[ ] [";
        QTest::newRow("p0 p600 p640 p1400 p2200 p2201") << "[ ]";
        QTest::newRow("t0 t600 t1300 t2100 t2800 t3600") << "( ] (";
        // Ended by hand.
        QTest::newRow("p0 p600 end p640 r700 p900") << "[ ] ] [";
        QTest::newRow("t0 end t5000") << "( ] (";
        QTest::newRow("p0 p3 end p5000") << "[ ] [";
        // Overtaken on the way here.
        QTest::newRow("r10 p3") << "]";
        QTest::newRow("p0 p600 r641 p640 p680") << "[ ]";
        QTest::newRow("p0 p640 p600 p1430 r2000") << "[ ]";
    }

    void holds() {
        MainQueue queue;
        bool recording = false;
        QStringList marks;
        const auto end = [&] {
            recording = false;
            marks << "]";
        };
        CommandHotKey hotKey(queue, {.isRecording = [&] { return recording; },
                                     .pressed =
                                         [&](bool endsOnSecondPress) {
                                             recording = true;
                                             marks << (endsOnSecondPress ? "(" : "[");
                                         },
                                     .released = end});
        for (const auto& word : QString(QTest::currentDataTag()).split(u' ')) {
            if (word == "end") {
                queue.post(end);
                continue;
            }
            const auto kind = word[0] == 'p'   ? HotKeyCommand::Kind::press
                              : word[0] == 'r' ? HotKeyCommand::Kind::release
                                               : HotKeyCommand::Kind::toggle;
            hotKey.receive({kind, std::chrono::steady_clock::time_point(
                                      std::chrono::milliseconds(word.sliced(1).toInt()))});
        }
        QVERIFY(marks.isEmpty());
        bool done = false;
        queue.post([&done] { done = true; });
        QTRY_VERIFY(done);
        QTEST(marks.join(u' '), "marks");
    }
};

QTEST_GUILESS_MAIN(CommandHotKeyTest)
#include "tst_commandhotkey.moc"
