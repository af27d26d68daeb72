#include "ui/history/HistoryPages.h"

#include "platform/DayWatcher.h"

namespace tavrik {

HistoryPages::HistoryPages(const Collaborators& with, QObject* parent)
    : QObject(parent), m_days(with.days),
      m_firstName(with.fullUserName.split(u' ', Qt::SkipEmptyParts).value(0, with.fullUserName)),
      m_clock(with.now), m_formats(with.locale), m_figures(with.store, m_clock, m_formats),
      m_today(TranscriptionModel::Scope::today, SearchFold(with.locale.texts),
              {with.store, m_clock, m_formats, with.clipboard, with.queue}),
      m_all(TranscriptionModel::Scope::all, SearchFold(with.locale.texts),
            {with.store, m_clock, m_formats, with.clipboard, with.queue}) {
    m_days.watch([this] { m_clock.refresh(); });
}

HistoryPages::~HistoryPages() {
    m_days.watch({});
}

QString HistoryPages::firstName() const {
    return m_firstName;
}

UsageFigures* HistoryPages::figures() {
    return &m_figures;
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
