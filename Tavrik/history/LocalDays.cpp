#include "history/LocalDays.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <vector>

namespace tavrik {

LocalDays::LocalDays(const QTimeZone& zone) : m_zone(zone) {}

qint64 LocalDays::dayOf(qint64 msecsSinceEpoch) {
    using namespace std::chrono;
    constexpr qint64 julianDayOfEpoch = 2'440'588;
    if (msecsSinceEpoch < m_from || msecsSinceEpoch >= m_until)
        lookUp(msecsSinceEpoch);
    return julianDayOfEpoch + floor<days>(milliseconds(msecsSinceEpoch + m_offset)).count();
}

void LocalDays::lookUp(qint64 moment) {
    const auto date = QDateTime::fromMSecsSinceEpoch(moment, QTimeZone::utc());
    m_offset = qint64{m_zone.offsetFromUtc(date)} * 1000;
    const auto previous = m_zone.previousTransition(date.addMSecs(1)).atUtc;
    auto next = m_zone.nextTransition(date).atUtc;
    // At the very moment of the last change in its table, Qt 6.4 overlooks those that follow by rule.
    if (!next.isValid())
        next = m_zone.nextTransition(date.addMSecs(1)).atUtc;
    m_from = previous.isValid() ? previous.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
    m_until = next.isValid() ? next.toMSecsSinceEpoch() : std::numeric_limits<qint64>::max();
}

qint64 distinctDays(const QList<Transcription>& records, const QTimeZone& zone) {
    LocalDays days(zone);
    std::vector<qint64> seen;
    for (const auto& record : records) {
        const auto day = days.dayOf(record.date.toMSecsSinceEpoch());
        // Neighbours are mostly of the same day: few are left to sort.
        if (seen.empty() || seen.back() != day)
            seen.push_back(day);
    }
    std::ranges::sort(seen);
    return std::ranges::unique(seen).begin() - seen.begin();
}

} // namespace tavrik
