#include "history/LocalDays.h"

#include <algorithm>
#include <vector>

namespace tavrik {

LocalDays::LocalDays(const QTimeZone& zone) : m_zone(zone) {}

qint64 LocalDays::dayOf(qint64 msecsSinceEpoch) {
    if (msecsSinceEpoch < m_start || msecsSinceEpoch >= m_end) {
        const auto day = QDateTime::fromMSecsSinceEpoch(msecsSinceEpoch, m_zone).date();
        m_day = day.toJulianDay();
        m_start = day.startOfDay(m_zone).toMSecsSinceEpoch();
        m_end = day.addDays(1).startOfDay(m_zone).toMSecsSinceEpoch();
    }
    return m_day;
}

qint64 distinctDays(const QList<Transcription>& records, const QTimeZone& zone) {
    LocalDays days(zone);
    std::vector<qint64> seen;
    for (const auto& record : records) {
        const auto day = days.dayOf(record.date.toMSecsSinceEpoch());
        // Neighbours are mostly of the same day.
        if (seen.empty() || seen.back() != day)
            seen.push_back(day);
    }
    std::ranges::sort(seen);
    return std::ranges::unique(seen).begin() - seen.begin();
}

} // namespace tavrik
