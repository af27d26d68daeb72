#pragma once

#include "history/Transcription.h"

#include <QList>
#include <QTimeZone>

#include <iterator>
#include <random>

namespace tavrik::bench {

/// Sentences of everyday length over some years, newest first.
inline QList<Transcription> someHistory(int count) {
    static constexpr const char* words[]{"the",    "report",   "is",      "ready",  "and",      "wir",
                                         "können", "tomorrow", "meeting", "please", "schedule", "around",
                                         "noon",   "a",        "then,",   "Straße"};
    std::mt19937 random(1);
    QList<Transcription> records;
    records.reserve(count);
    auto date = toTimestamp(QDateTime(QDate(2026, 7, 1), QTime(12, 0), QTimeZone::utc()));
    for (int i = 0; i < count; ++i) {
        date -= std::chrono::seconds(60 + random() % 5000);
        QByteArray text;
        for (auto left = 8 + random() % 48; left > 0; --left)
            text.append(words[random() % std::size(words)]).append(left > 1 ? " " : ".");
        records.append({QUuid::createUuid(), date, text, double(random() % 300'000) / 10'000});
    }
    return records;
}

} // namespace tavrik::bench
