#pragma once

#include "history/LocalDays.h"

#include <QDate>
#include <QDateTime>
#include <QObject>

#include <functional>

namespace tavrik {

/// Today's date and the days of other moments, in the user's time zone. Main thread only.
class DayClock : public QObject {
    Q_OBJECT

public:
    using Now = std::function<QDateTime()>;

    explicit DayClock(Now now = qOverload<>(&QDateTime::currentDateTime), QObject* parent = nullptr);

    QDate today() const;

    /// Julian day of a moment, in the user's time zone.
    qint64 dayOf(Timestamp moment) const;

    /// Reads the clock and the time zone again.
    void refresh();

Q_SIGNALS:
    /// Another day has begun, or the time zone has changed.
    void changed();

private:
    Now m_now;
    QDate m_today;
    QByteArray m_zone;
    int m_offset = 0;
    /// Caches.
    mutable LocalDays m_days;
};

} // namespace tavrik
