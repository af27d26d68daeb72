#include "base/MainQueue.h"

#include <QTest>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <array>
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

    void takesJobsFromAnyThread() {
        constexpr int jobs = 500;
        MainQueue queue;
        std::array<QList<int>, 4> seen;
        bool elsewhere = false;
        {
            std::vector<std::jthread> workers;
            workers.reserve(seen.size());
            for (auto& list : seen) {
                workers.emplace_back([&queue, &list, &elsewhere] {
                    for (int job = 0; job < jobs; ++job)
                        queue.post([&queue, &list, &elsewhere, job] {
                            elsewhere |= QThread::currentThread() != queue.thread();
                            list.append(job);
                        });
                });
            }
        }
        for (const auto& list : seen) {
            QTRY_COMPARE(list.size(), jobs);
            QVERIFY(std::ranges::is_sorted(list));
        }
        QVERIFY(!elsewhere);
    }

    void delayedJobs() {
        MainQueue queue;
        QList<int> steps;
        // From a thread without an event loop too.
        std::jthread([&] { queue.postAfter(30ms, [&] { steps << 2; }); }).join();
        queue.postAfter(0ms, [&] { steps << 1; });
        QVERIFY(steps.isEmpty());
        QTRY_COMPARE(steps, (QList<int>{1, 2}));
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
