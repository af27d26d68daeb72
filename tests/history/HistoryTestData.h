#pragma once

#include "history/HistoryFile.h"

#include <QTimeZone>

namespace tavrik::test {

inline Transcription dictation(const QByteArray& text, const QDateTime& date, double duration = 1) {
    return {QUuid::createUuid(), date, text, duration};
}

/// Distinct records, a minute apart, newest first; the text of the last one is "1".
inline QList<Transcription> numberedRecords(int count) {
    const QDateTime newest(QDate(2026, 7, 1), QTime(12, 0), QTimeZone::utc());
    QList<Transcription> records;
    for (int i = 0; i < count; ++i)
        records.append(dictation(QByteArray::number(count - i), newest.addSecs(-60 * i)));
    return records;
}

inline QByteArray document(const QList<Transcription>& records) {
    QByteArray bytes;
    encodeHistory(records, [&bytes](QByteArrayView piece) { bytes.append(piece); });
    return bytes;
}

} // namespace tavrik::test
