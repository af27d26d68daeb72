#pragma once

#include <functional>

namespace tavrik {

/// Reports changes of the local date. Main thread only.
class DayWatcher {
public:
    DayWatcher() = default;
    DayWatcher(const DayWatcher&) = delete;
    DayWatcher& operator=(const DayWatcher&) = delete;
    virtual ~DayWatcher() = default;

    /// Calls `changed` from the event loop after each midnight, also one that passed during suspend, and when
    /// the clock or the time zone is set. May call it without a change. Replaces the previous callback; an
    /// empty one ends the watch.
    virtual void watch(std::function<void()> changed) = 0;
};

} // namespace tavrik
