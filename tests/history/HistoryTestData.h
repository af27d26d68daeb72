#pragma once

#include "history/HistoryEncoder.h"

#include <QTimeZone>

namespace tavrik::test {

inline Transcription dictation(const QByteArray& text,
                               const QDateTime& date = QDateTime::fromSecsSinceEpoch(1'750'000'000,
                                                                                     QTimeZone::utc()),
                               double duration = 1) {
    return {QUuid::createUuid(), toTimestamp(date), text, duration};
}

/// Distinct records, a minute apart, newest first; the text of the last one is "1".
inline QList<Transcription> numberedRecords(int count) {
    const QDateTime newest(QDate(2026, 7, 1), QTime(12, 0), QTimeZone::utc());
    QList<Transcription> records;
    for (int i = 0; i < count; ++i)
        records.append(dictation(QByteArray::number(count - i), newest.addSecs(-60 * i)));
    return records;
}

inline QByteArray encodeHistory(const QList<Transcription>& records) {
    QByteArray json;
    tavrik::encodeHistory(records, [&json](QByteArrayView piece) { json.append(piece); });
    return json;
}

} // namespace tavrik::test
