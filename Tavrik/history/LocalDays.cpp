#include "history/LocalDays.h"

#include <algorithm>
#include <vector>

namespace tavrik {

LocalDays::LocalDays(const QTimeZone& zone) : m_zone(zone) {}

qint64 LocalDays::dayOf(Timestamp moment) {
    constexpr qint64 julianDayOfEpoch = 2'440'588;
    if (moment < m_start || moment >= m_end)
        findPeriod(moment);
    return julianDayOfEpoch +
           std::chrono::floor<std::chrono::days>(moment + m_offset).time_since_epoch().count();
}

void LocalDays::findPeriod(Timestamp moment) {
    const auto date = toDateTime(moment).toUTC();
    const auto previous = m_zone.previousTransition(date.addMSecs(1)).atUtc;
    auto next = m_zone.nextTransition(date).atUtc;
    // At the very moment of the last change in its table, Qt 6.4 overlooks those that follow by rule.
    if (!next.isValid())
        next = m_zone.nextTransition(date.addMSecs(1)).atUtc;
    m_offset = std::chrono::seconds(m_zone.offsetFromUtc(date));
    m_start = previous.isValid() ? toTimestamp(previous) : Timestamp::min();
    m_end = next.isValid() ? toTimestamp(next) : Timestamp::max();
}

qint64 distinctDays(const QList<Transcription>& records, const QTimeZone& zone) {
    LocalDays days(zone);
    std::vector<qint64> seen;
    for (const auto& record : records) {
        const auto day = days.dayOf(record.date);
        // Neighbours are mostly of the same day.
        if (seen.empty() || seen.back() != day)
            seen.push_back(day);
    }
    std::ranges::sort(seen);
    return std::ranges::unique(seen).begin() - seen.begin();
}

} // namespace tavrik
