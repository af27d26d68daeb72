#include "capture/LevelMeter.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tavrik {

namespace {

constexpr std::chrono::milliseconds staleAfter{500};

} // namespace

void LevelMeter::add(std::span<const qint16> samples) {
    for (const qint64 sample : samples) {
        m_sum += sample * sample;
        if (++m_filled < slotSize)
            continue;
        m_slots[m_slot] = m_sum;
        m_heard = m_heard || m_sum != 0;
        m_slot = (m_slot + 1) % slotCount;
        m_sum = 0;
        m_filled = 0;
    }
    constexpr double fullScale = 32768.0 * 32768.0 * slotSize * slotCount;
    const auto total = std::accumulate(m_slots.begin(), m_slots.end(), qint64{0});
    const auto power = static_cast<float>(10 * std::log10(static_cast<double>(total) / fullScale));
    m_power.store(std::max(power, silence), std::memory_order_relaxed);
    m_updated.store(Clock::now(), std::memory_order_relaxed);
}

float LevelMeter::averagePower() const {
    // A microphone that disappears must not leave the last level standing.
    if (Clock::now() - m_updated.load(std::memory_order_relaxed) > staleAfter)
        return silence;
    return m_power.load(std::memory_order_relaxed);
}

} // namespace tavrik
