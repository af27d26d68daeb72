#include "platform/linux/DetachedWorker.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace tavrik {

struct DetachedWorker::State {
    std::mutex mutex;
    std::condition_variable idle;
    std::deque<Job> jobs;
    bool running = false;
};

DetachedWorker::DetachedWorker() : m_state(std::make_shared<State>()) {}

DetachedWorker::~DetachedWorker() = default;

void DetachedWorker::post(Job job) {
    const std::scoped_lock lock(m_state->mutex);
    m_state->jobs.push_back(std::move(job));
    if (std::exchange(m_state->running, true))
        return;
    std::thread([state = m_state] {
        std::unique_lock held(state->mutex);
        while (!state->jobs.empty()) {
            auto next = std::move(state->jobs.front());
            state->jobs.pop_front();
            held.unlock();
            next();
            next = nullptr;
            held.lock();
        }
        state->running = false;
        state->idle.notify_all();
    }).detach();
}

void DetachedWorker::finish(std::chrono::milliseconds limit) {
    std::unique_lock lock(m_state->mutex);
    m_state->idle.wait_for(lock, limit, [this] { return !m_state->running; });
}

} // namespace tavrik
