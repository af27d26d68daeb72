#include "ui/history/DayClock.h"

namespace tavrik {

DayClock::DayClock(Now now, QObject* parent)
    : QObject(parent), m_now(std::move(now)), m_days(QTimeZone::systemTimeZone()) {
    refresh();
}

QDate DayClock::today() const {
    return m_today;
}

qint64 DayClock::dayOf(Timestamp moment) const {
    return m_days.dayOf(moment);
}

void DayClock::refresh() {
    const auto now = m_now();
    const auto zone = QTimeZone::systemTimeZoneId();
    if (now.date() == m_today && zone == m_zone && now.offsetFromUtc() == m_offset)
        return;
    m_today = now.date();
    m_zone = zone;
    m_offset = now.offsetFromUtc();
    m_days = LocalDays(QTimeZone::systemTimeZone());
    Q_EMIT changed();
}

} // namespace tavrik
