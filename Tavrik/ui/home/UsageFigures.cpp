#include "ui/home/UsageFigures.h"

#include "history/HistoryStore.h"
#include "ui/history/DayClock.h"
#include "ui/history/UserFormats.h"

namespace tavrik {

UsageFigures::UsageFigures(const HistoryStore& store, const DayClock& clock, const UserFormats& formats,
                           QObject* parent)
    : QObject(parent), m_store(store), m_formats(formats) {
    connect(&store, &HistoryStore::inserted, this, &UsageFigures::update);
    connect(&store, &HistoryStore::removed, this, &UsageFigures::update);
    connect(&clock, &DayClock::changed, this, &UsageFigures::update);
    update();
}

QString UsageFigures::totalWords() const {
    return m_formats.compact(m_totalWords);
}

QString UsageFigures::wordsPerMinute() const {
    return QString::number(m_wordsPerMinute);
}

QString UsageFigures::daysUsed() const {
    return QString::number(m_daysUsed);
}

QString UsageFigures::daysLabel() const {
    return m_daysUsed == 1 ? QStringLiteral("day") : QStringLiteral("days");
}

void UsageFigures::update() {
    m_totalWords = m_store.totalWords();
    m_wordsPerMinute = m_store.wordsPerMinute();
    m_daysUsed = m_store.daysUsed();
    Q_EMIT changed();
}

} // namespace tavrik
