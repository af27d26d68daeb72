#include "storage/LocalDays.h"

#include <QTimeZone>

#include <algorithm>
#include <chrono>
#include <limits>
#include <vector>

namespace tavrik {

namespace {

// The zone's offset from UTC at one moment, looked up only when the moment leaves the period between two
// changes of the clock.
class OffsetLookup {
public:
    explicit OffsetLookup(const QTimeZone& zone) : m_zone(zone) {}

    qint64 millisecondsAt(qint64 moment) {
        if (moment < m_from || moment >= m_until)
            lookUp(moment);
        return m_offset;
    }

private:
    static constexpr auto distantPast = std::numeric_limits<qint64>::min();
    static constexpr auto distantFuture = std::numeric_limits<qint64>::max();

    void lookUp(qint64 moment) {
        const auto date = QDateTime::fromMSecsSinceEpoch(moment, Qt::UTC);
        m_offset = qint64{m_zone.offsetFromUtc(date)} * 1000;
        const auto previous = m_zone.previousTransition(date.addMSecs(1)).atUtc;
        auto next = m_zone.nextTransition(date).atUtc;
        // At the very moment of the last change in its table, Qt 6.4 overlooks those that follow by rule.
        if (!next.isValid())
            next = m_zone.nextTransition(date.addMSecs(1)).atUtc;
        m_from = previous.isValid() ? previous.toMSecsSinceEpoch() : distantPast;
        m_until = next.isValid() ? next.toMSecsSinceEpoch() : distantFuture;
    }

    const QTimeZone& m_zone;
    qint64 m_offset = 0;
    qint64 m_from = distantFuture;
    qint64 m_until = distantPast;
};

} // namespace

qint64 distinctDays(const QList<Transcription>& records, const QTimeZone& zone) {
    using namespace std::chrono;
    OffsetLookup offset(zone);
    std::vector<sys_days> seen;
    for (const auto& record : records) {
        const qint64 moment = record.date.toMSecsSinceEpoch();
        const sys_time<milliseconds> local(milliseconds(moment + offset.millisecondsAt(moment)));
        const auto day = floor<days>(local);
        // Neighbours are mostly of the same day: few are left to sort.
        if (seen.empty() || seen.back() != day)
            seen.push_back(day);
    }
    std::ranges::sort(seen);
    return std::ranges::unique(seen).begin() - seen.begin();
}

} // namespace tavrik
