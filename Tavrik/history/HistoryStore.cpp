#include "history/HistoryStore.h"

#include "history/LocalDays.h"
#include "history/WordCount.h"

#include <cmath>
#include <utility>

namespace tavrik {

HistoryStore::HistoryStore(const QString& folder, QObject* parent) : QObject(parent), m_archive(folder) {}

HistoryStore::~HistoryStore() = default;

const QList<Transcription>& HistoryStore::items() const {
    waitForContent();
    return m_content.records;
}

void HistoryStore::insertFirst(Transcription record) {
    waitForContent();
    m_content.words += wordCount(record.text);
    m_content.records.prepend(std::move(record));
    m_archive.save(m_content.records);
    Q_EMIT inserted(0, 0);
}

void HistoryStore::remove(QUuid id) {
    waitForContent();
    auto& records = m_content.records;
    bool found = false;
    // From the end, so that a range announced is not moved by one before it.
    for (qsizetype last = records.size() - 1; last >= 0; --last) {
        if (records.at(last).id != id)
            continue;
        qsizetype first = last;
        while (first > 0 && records.at(first - 1).id == id)
            --first;
        for (qsizetype i = first; i <= last; ++i)
            m_content.words -= wordCount(records.at(i).text);
        records.remove(first, last - first + 1);
        Q_EMIT removed(first, last);
        last = first;
        found = true;
    }
    if (found)
        m_archive.save(records);
}

qint64 HistoryStore::totalWords() const {
    waitForContent();
    return m_content.words;
}

qint64 HistoryStore::wordsPerMinute() const {
    double seconds = 0;
    for (const auto& record : items())
        seconds += record.duration;
    return seconds > 1.0 ? std::llround(static_cast<double>(m_content.words) / (seconds / 60)) : 0;
}

qint64 HistoryStore::daysUsed() const {
    return distinctDays(items(), QTimeZone::systemTimeZone());
}

void HistoryStore::waitForContent() const {
    if (!std::exchange(m_hasContent, true))
        m_content = m_archive.takeContent();
}

} // namespace tavrik
