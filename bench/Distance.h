#pragma once

#include <chrono>
#include <memory>

namespace tavrik::bench {

/// Two network namespaces joined by a delaying line. The near one reaches the far one's 127.0.0.1 under that
/// address and has none of its own, so a server that listens on its own machine only is far away. Needs root.
class Distance {
public:
    explicit Distance(std::chrono::microseconds roundTrip);
    Distance(const Distance&) = delete;
    Distance& operator=(const Distance&) = delete;
    ~Distance();

    /// The calling thread, and what it starts, is at that end from now on.
    void goNear() const;
    void goFar() const;

private:
    struct Line;
    std::unique_ptr<Line> m_line;
};

} // namespace tavrik::bench
