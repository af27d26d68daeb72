#include "window/DayClock.h"

#include <QTimeZone>

namespace tavrik {

DayClock::DayClock(Now now, QObject* parent) : QObject(parent), m_now(std::move(now)) {
    refresh();
}

QDate DayClock::today() const {
    return m_today;
}

qint64 DayClock::dayOf(qint64 msecsSinceEpoch) const {
    if (msecsSinceEpoch < m_dayBegin || msecsSinceEpoch >= m_dayEnd) {
        const auto date = QDateTime::fromMSecsSinceEpoch(msecsSinceEpoch).date();
        m_day = date.toJulianDay();
        m_dayBegin = date.startOfDay().toMSecsSinceEpoch();
        m_dayEnd = date.addDays(1).startOfDay().toMSecsSinceEpoch();
    }
    return m_day;
}

void DayClock::refresh() {
    const auto now = m_now();
    const auto zone = QTimeZone::systemTimeZoneId();
    if (now.date() == m_today && zone == m_zone && now.offsetFromUtc() == m_offset)
        return;
    m_today = now.date();
    m_zone = zone;
    m_offset = now.offsetFromUtc();
    m_dayEnd = m_dayBegin;
    Q_EMIT changed();
}

} // namespace tavrik
