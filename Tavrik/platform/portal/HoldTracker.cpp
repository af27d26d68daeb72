#include "platform/portal/HoldTracker.h"

#include <utility>

namespace tavrik {

using namespace std::chrono_literals;

namespace {

/// How long a hold goes on of which nothing is told.
constexpr auto longestLoss = 3s;

} // namespace

void HoldTracker::setRepeat(const std::optional<KeyRepeat::Settings>& repeat) {
    m_repeat = repeat;
}

HoldTracker::Event HoldTracker::activated(TimePoint now) {
    const auto pause = now - std::exchange(m_lastSign, now);
    m_doubt = Doubt::none;
    if (!std::exchange(m_isHeld, true)) {
        m_isRepeating = false;
        return Event::pressed;
    }
    if (!m_repeat)
        return Event::none;
    if (!m_repeat->enabled)
        return m_isRecording ? release() : Event::pressedAgain;
    // At another time than that of a repeat it may be a new press, whose repeats have yet to begin.
    const auto interval = m_repeat->interval;
    m_isRepeating = m_isRepeating ? pause < 3 * interval
                                  : pause < interval + interval / 2 + 20ms || pause > m_repeat->delay * 3 / 4;
    return Event::none;
}

HoldTracker::Event HoldTracker::deactivated() {
    return m_isHeld ? release() : Event::none;
}

HoldTracker::Event HoldTracker::lost(TimePoint now) {
    if (!m_isHeld || !m_repeat || !m_repeat->enabled)
        return deactivated();
    m_lastSign = now;
    m_doubt = Doubt::lost;
    return Event::none;
}

HoldTracker::Event HoldTracker::release() {
    m_isHeld = false;
    return Event::released;
}

std::optional<HoldTracker::TimePoint> HoldTracker::deadline() const {
    if (!m_isHeld || !m_repeat || !m_repeat->enabled || m_doubt == Doubt::asked)
        return std::nullopt;
    if (m_doubt == Doubt::answered)
        return m_lastSign + m_repeat->interval + 30ms; // for what is still on its way
    if (m_doubt == Doubt::lost)
        return m_lastSign + longestLoss;
    if (m_isRepeating)
        return m_lastSign + 3 * m_repeat->interval + 40ms;
    return m_lastSign + m_repeat->delay + 120ms;
}

HoldTracker::Event HoldTracker::timePassed(TimePoint now) {
    const auto end = deadline();
    if (!end || now < *end)
        return Event::none;
    if (m_doubt != Doubt::none)
        return release();
    m_doubt = Doubt::asked;
    return Event::doubted;
}

HoldTracker::Event HoldTracker::answered(TimePoint now) {
    if (m_doubt == Doubt::asked) {
        m_doubt = Doubt::answered;
        m_lastSign = now;
    }
    return Event::none;
}

} // namespace tavrik
