#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

namespace tavrik::bench {

using Clock = std::chrono::steady_clock;

inline double milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

inline double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

/// How long the call takes, in milliseconds.
template<class Call>
double timed(const Call& call) {
    const auto start = Clock::now();
    call();
    return milliseconds(Clock::now() - start);
}

} // namespace tavrik::bench
