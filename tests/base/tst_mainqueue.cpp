#include "base/MainQueue.h"

#include <QTest>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <thread>

using namespace tavrik;
using namespace std::chrono_literals;

class MainQueueTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runsInOrderAndNeverNested() {
        MainQueue queue;
        QList<int> steps;
        bool otherWork = false;
        queue.post([&] {
            queue.post([&] { steps << 4; });
            // A job that runs an event loop must not let the next one in.
            QCoreApplication::processEvents();
            steps << 1;
        });
        queue.post([&] { steps << 2; });
        // A job that posts itself does not keep the loop from its other work.
        std::function<void()> again = [&] {
            otherWork ? void(steps << 5) : queue.post(again);
        };
        queue.post(again);
        queue.post([&] { steps << 3; });
        QTimer::singleShot(0, &queue, [&] { otherWork = true; });
        QTRY_COMPARE(steps, (QList<int>{1, 2, 3, 4, 5}));
    }

    /// An alert opens within a job: what is behind it in the queue comes after the last alert.
    void waitsForTheLastHold() {
        MainQueue queue;
        QList<int> steps;
        std::unique_ptr<MainQueue::Hold> first;
        queue.post([&] {
            steps << 1;
            first = std::make_unique<MainQueue::Hold>(queue);
        });
        queue.post([&] { steps << 2; });
        QTRY_VERIFY(first);
        auto second = std::make_unique<MainQueue::Hold>(queue);
        queue.postAfter(1ms, [&] { steps << 3; });
        first.reset();
        QTest::qWait(50);
        QCOMPARE(steps, QList<int>{1});
        second.reset();
        QTRY_COMPARE(steps, (QList<int>{1, 2, 3}));
    }

    /// The thread has no event loop.
    void takesJobsFromAnyThread() {
        MainQueue queue;
        QList<int> seen;
        const std::jthread poster([&] {
            for (int job = 0; job < 500; ++job)
                queue.post([&, job] { seen << (QThread::currentThread() == thread() ? job : -1); });
            queue.postAfter(100ms, [&] { seen << 500; });
        });
        QTRY_COMPARE(seen.size(), 501);
        QVERIFY(std::ranges::is_sorted(seen));
    }

    void droppedWithTheQueue() {
        const auto witness = std::make_shared<int>(0);
        auto queue = std::make_unique<MainQueue>();
        queue->post([witness] { ++*witness; });
        queue->postAfter(1ms, [witness] { ++*witness; });
        queue.reset();
        QTRY_COMPARE(witness.use_count(), 1);
        QCOMPARE(*witness, 0);
    }
};

QTEST_GUILESS_MAIN(MainQueueTest)
#include "tst_mainqueue.moc"
