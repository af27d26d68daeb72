#pragma once

#include <QObject>

#include <chrono>
#include <deque>
#include <functional>
#include <mutex>

namespace tavrik {

/// Jobs for the thread it lives on, the main thread in all but one case: run in the order they were posted,
/// one at a time, never inside one another and never inside the call that posted them. Jobs still waiting
/// when it is destroyed are dropped without being run.
class MainQueue : public QObject {
    Q_OBJECT

public:
    using Job = std::function<void()>;

    /// Keeps the queue waiting for as long as it lives, as a modal alert does. The queue's thread only; holds
    /// may overlap.
    class Hold {
    public:
        explicit Hold(MainQueue& queue);
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;
        ~Hold();

    private:
        MainQueue& m_queue;
    };

    explicit MainQueue(QObject* parent = nullptr);

    /// Runs `job` on the queue's thread after everything posted before it. May be called on any thread.
    void post(Job job);

    /// Posts `job` once `delay` has passed. May be called on any thread.
    void postAfter(std::chrono::milliseconds delay, Job job);

protected:
    bool event(QEvent* event) override;

private:
    void schedule();
    void drain();

    std::mutex m_mutex;
    std::deque<Job> m_jobs;
    bool m_scheduled = false;
    bool m_draining = false;
    int m_holds = 0;
};

} // namespace tavrik
