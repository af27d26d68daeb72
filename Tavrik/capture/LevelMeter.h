#pragma once

#include <QtGlobal>

#include <array>
#include <atomic>
#include <chrono>
#include <span>

namespace tavrik {

/// The average power of the last 50 ms. One thread adds samples, any other may read. Lock-free.
class LevelMeter {
public:
    /// The lowest level, in dBFS.
    static constexpr float silence = -160;

    void add(std::span<const qint16> samples);

    /// In dBFS: 0 for a square wave at full scale. Silence when no samples have come lately.
    float averagePower() const;

    /// Whether every sample was zero, but for the last 10 ms. Not while another thread adds samples.
    bool isSilent() const { return !m_heard; }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr int slotSize = 160; // 10 ms at 16 kHz
    static constexpr int slotCount = 5;

    // Used by the adding thread only: sums of squares over 10 ms each, in a ring.
    std::array<qint64, slotCount> m_slots{};
    qint64 m_sum = 0;
    int m_filled = 0;
    int m_slot = 0;
    bool m_heard = false;

    std::atomic<float> m_power = silence;
    std::atomic<Clock::time_point> m_updated;
};

} // namespace tavrik
