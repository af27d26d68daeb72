#pragma once

#include <functional>

namespace tavrik {

/// Tells when the user's calendar has moved on. Main thread only.
class DayWatcher {
public:
    DayWatcher() = default;
    DayWatcher(const DayWatcher&) = delete;
    DayWatcher& operator=(const DayWatcher&) = delete;
    virtual ~DayWatcher() = default;

    /// Calls `changed`, from the event loop, after each midnight, one that the computer slept through
    /// included, and when the clock or the time zone was set; sometimes also when nothing has changed.
    /// Replaces an earlier callback; an empty one ends the watch.
    virtual void watch(std::function<void()> changed) = 0;
};

} // namespace tavrik
