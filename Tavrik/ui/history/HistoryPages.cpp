#include "ui/history/HistoryPages.h"

#include "platform/DayWatcher.h"

namespace tavrik {

HistoryPages::HistoryPages(const Dependencies& dependencies, QObject* parent)
    : QObject(parent), m_days(dependencies.days),
      m_firstName(
          dependencies.fullUserName.split(u' ', Qt::SkipEmptyParts).value(0, dependencies.fullUserName)),
      m_clock(dependencies.now), m_formats(dependencies.locale),
      m_stats(dependencies.store, m_clock, m_formats),
      m_today(TranscriptionModel::Scope::today, dependencies.locale.texts,
              {dependencies.store, m_clock, m_formats, dependencies.clipboard, dependencies.queue}),
      m_all(TranscriptionModel::Scope::all, dependencies.locale.texts,
            {dependencies.store, m_clock, m_formats, dependencies.clipboard, dependencies.queue}) {
    m_days.watch([this] { m_clock.refresh(); });
}

HistoryPages::~HistoryPages() {
    m_days.watch({});
}

QString HistoryPages::firstName() const {
    return m_firstName;
}

UsageStats* HistoryPages::stats() {
    return &m_stats;
}

TranscriptionModel* HistoryPages::today() {
    return &m_today;
}

TranscriptionModel* HistoryPages::all() {
    return &m_all;
}

void HistoryPages::aboutToShow() {
    m_clock.refresh();
}

} // namespace tavrik
