#pragma once

#include <QEventLoop>
#include <QTimer>
#include <QtGlobal>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <vector>

namespace tavrik::bench {

using Clock = std::chrono::steady_clock;

/// Whether this is a Wayland session, with or without an X server.
inline bool isWayland() {
    return qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

inline double milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

/// Milliseconds on the clock that all processes share.
inline double now() {
    return milliseconds(Clock::now().time_since_epoch());
}

inline double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

inline double worst(const std::vector<double>& values) {
    return std::ranges::max(values);
}

/// How long the call takes, in milliseconds.
template<class Call>
double timed(const Call& call) {
    const auto start = Clock::now();
    call();
    return milliseconds(Clock::now() - start);
}

/// Runs the event loop for that long.
inline void runFor(std::chrono::milliseconds duration) {
    QEventLoop loop;
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    loop.exec();
}

/// This process's use of the processor while its event loop runs, in percent of a core.
inline double processorPercent(std::chrono::seconds duration) {
    const auto before = std::clock();
    runFor(duration);
    return 100.0 * static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC /
           static_cast<double>(duration.count());
}

} // namespace tavrik::bench
