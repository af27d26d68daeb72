#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace tavrik {

/// Runs jobs in order on a thread that nobody has to wait for: one that hangs holds up those behind it, but
/// never their owner, nor the end of the program. The thread lives only while there is something to do. Jobs
/// must not refer to anything that may be gone when they run.
class DetachedWorker {
public:
    using Job = std::move_only_function<void()>;

    DetachedWorker();
    DetachedWorker(const DetachedWorker&) = delete;
    DetachedWorker& operator=(const DetachedWorker&) = delete;
    ~DetachedWorker();

    void post(Job job);

    /// Waits until all is done, but no longer than `limit`.
    void finish(std::chrono::milliseconds limit);

private:
    struct State;
    std::shared_ptr<State> m_state;
};

} // namespace tavrik
