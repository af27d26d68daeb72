#pragma once

#include "history/Transcription.h"

#include <QList>
#include <QTimeZone>

namespace tavrik {

/// To which calendar days of a time zone moments belong. The zone is asked only when a moment lies outside
/// the period between two changes of its clock in which the one before it lay.
class LocalDays {
public:
    explicit LocalDays(const QTimeZone& zone);

    /// The Julian day, as QDate counts.
    qint64 dayOf(qint64 msecsSinceEpoch);

private:
    void lookUp(qint64 moment);

    QTimeZone m_zone;
    qint64 m_offset = 0;
    /// The period; empty at first.
    qint64 m_from = 0;
    qint64 m_until = 0;
};

/// How many different calendar days of the time zone the records fall on.
qint64 distinctDays(const QList<Transcription>& records, const QTimeZone& zone);

} // namespace tavrik
