#include "base/MainQueue.h"

#include <QTest>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <thread>
#include <vector>

using namespace tavrik;
using namespace std::chrono_literals;

class MainQueueTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runsInOrderAndNeverNested() {
        MainQueue queue;
        QStringList steps;
        queue.post([&] {
            steps << QStringLiteral("a");
            queue.post([&] { steps << QStringLiteral("posted by a"); });
            // A job that runs an event loop of its own must not let the next one in.
            QCoreApplication::processEvents();
            steps << QStringLiteral("a ends");
        });
        queue.post([&] { steps << QStringLiteral("b"); });
        QVERIFY(steps.isEmpty());
        const QStringList expected{QStringLiteral("a"), QStringLiteral("a ends"), QStringLiteral("b"),
                                   QStringLiteral("posted by a")};
        QTRY_COMPARE(steps, expected);
    }

    void jobThatPostsItselfLetsTheLoopGoOn() {
        MainQueue queue;
        bool otherWork = false;
        std::function<void()> again = [&] {
            if (!otherWork)
                queue.post(again);
        };
        queue.post(again);
        QTimer::singleShot(0, &queue, [&] { otherWork = true; });
        QTRY_VERIFY(otherWork);
    }

    void waitsWhileHeld() {
        MainQueue queue;
        QList<int> steps;
        auto first = std::make_unique<MainQueue::Hold>(queue);
        queue.post([&] { steps << 1; });
        auto second = std::make_unique<MainQueue::Hold>(queue);
        queue.post([&] { steps << 2; });
        first.reset();
        QTest::qWait(20);
        QVERIFY(steps.isEmpty());
        second.reset();
        QTRY_COMPARE(steps, (QList<int>{1, 2}));
    }

    /// An alert opens within a job: what is behind it in the queue comes after the alert.
    void holdTakenByAJobStopsTheNext() {
        MainQueue queue;
        QList<int> steps;
        std::unique_ptr<MainQueue::Hold> hold;
        queue.post([&] {
            steps << 1;
            hold = std::make_unique<MainQueue::Hold>(queue);
        });
        queue.post([&] { steps << 2; });
        QTRY_COMPARE(steps, QList<int>{1});
        QTest::qWait(20);
        QCOMPARE(steps, QList<int>{1});
        hold.reset();
        QTRY_COMPARE(steps, (QList<int>{1, 2}));
    }

    void takesJobsFromAnyThread() {
        constexpr int threads = 4;
        constexpr int jobs = 500;
        MainQueue queue;
        std::vector<std::vector<int>> seen(threads);
        bool elsewhere = false;
        {
            std::vector<std::jthread> workers;
            workers.reserve(threads);
            for (int thread = 0; thread < threads; ++thread) {
                workers.emplace_back([&, thread] {
                    for (int job = 0; job < jobs; ++job)
                        queue.post([&, thread, job] {
                            elsewhere |= QThread::currentThread() != queue.thread();
                            seen[static_cast<size_t>(thread)].push_back(job);
                        });
                });
            }
        }
        const auto all = [&] {
            return std::ranges::all_of(seen, [](const auto& list) { return list.size() == jobs; });
        };
        QTRY_VERIFY(all());
        QVERIFY(!elsewhere);
        for (const auto& list : seen)
            QVERIFY(std::ranges::is_sorted(list));
    }

    void delayedJobs() {
        MainQueue queue;
        QList<int> steps;
        // From a thread without an event loop too.
        std::jthread([&] { queue.postAfter(30ms, [&] { steps << 2; }); }).join();
        queue.postAfter(0ms, [&] { steps << 1; });
        QVERIFY(steps.isEmpty());
        QTRY_COMPARE(steps, (QList<int>{1, 2}));

        // One that is due while the queue is held waits like the others.
        auto hold = std::make_unique<MainQueue::Hold>(queue);
        queue.postAfter(1ms, [&] { steps << 3; });
        QTest::qWait(50);
        QCOMPARE(steps.size(), 2);
        hold.reset();
        QTRY_COMPARE(steps.size(), 3);
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
