#pragma once

#include "history/LocalDays.h"

#include <QDate>
#include <QDateTime>
#include <QObject>

#include <functional>

namespace tavrik {

/// Which day it is where the user is, and to which day a moment belongs. Main thread only.
class DayClock : public QObject {
    Q_OBJECT

public:
    using Now = std::function<QDateTime()>;

    explicit DayClock(Now now = qOverload<>(&QDateTime::currentDateTime), QObject* parent = nullptr);

    QDate today() const;

    /// Julian day of a moment, in the user's time zone.
    qint64 dayOf(qint64 msecsSinceEpoch) const;

    /// Looks at the clock and the time zone again.
    void refresh();

Q_SIGNALS:
    /// Another day has begun, or the days are no longer where they were.
    void changed();

private:
    Now m_now;
    QDate m_today;
    QByteArray m_zone;
    int m_offset = 0;
    /// What it has looked up serves the next call.
    mutable LocalDays m_days;
};

} // namespace tavrik
