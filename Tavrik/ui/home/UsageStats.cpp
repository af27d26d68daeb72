#include "ui/home/UsageStats.h"

#include "history/HistoryStore.h"
#include "ui/history/DayClock.h"
#include "ui/history/UserFormats.h"

namespace tavrik {

using namespace Qt::StringLiterals;

UsageStats::UsageStats(const HistoryStore& store, const DayClock& clock, const UserFormats& formats,
                       QObject* parent)
    : QObject(parent), m_store(store), m_formats(formats) {
    connect(&store, &HistoryStore::inserted, this, &UsageStats::update);
    connect(&store, &HistoryStore::removed, this, &UsageStats::update);
    connect(&clock, &DayClock::changed, this, &UsageStats::update);
    update();
}

QString UsageStats::totalWords() const {
    return m_formats.compact(m_totalWords);
}

QString UsageStats::wordsPerMinute() const {
    return QString::number(m_wordsPerMinute);
}

QString UsageStats::daysUsed() const {
    return QString::number(m_daysUsed);
}

QString UsageStats::daysLabel() const {
    return m_daysUsed == 1 ? u"day"_s : u"days"_s;
}

void UsageStats::update() {
    m_totalWords = m_store.totalWords();
    m_wordsPerMinute = m_store.wordsPerMinute();
    m_daysUsed = m_store.daysUsed();
    Q_EMIT changed();
}

} // namespace tavrik
