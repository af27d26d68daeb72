#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QUuid>

#include <chrono>

namespace tavrik {

/// A moment, in UTC.
using Timestamp = std::chrono::sys_time<std::chrono::milliseconds>;

/// Of a valid date.
inline Timestamp toTimestamp(const QDateTime& date) {
    return Timestamp(std::chrono::milliseconds(date.toMSecsSinceEpoch()));
}

/// In local time.
inline QDateTime toDateTime(Timestamp moment) {
    return QDateTime::fromMSecsSinceEpoch(moment.time_since_epoch().count());
}

/// One successful dictation.
struct Transcription {
    QUuid id;
    /// When the text arrived.
    Timestamp date;
    /// UTF-8, as it is kept on disk: a history of any size is written and searched without conversion.
    QByteArray text;
    /// Seconds.
    double duration = 0;

    bool operator==(const Transcription&) const = default;
};

} // namespace tavrik

Q_DECLARE_TYPEINFO(tavrik::Transcription, Q_RELOCATABLE_TYPE);
