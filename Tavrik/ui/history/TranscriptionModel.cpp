#include "ui/history/TranscriptionModel.h"

#include "base/MainQueue.h"
#include "history/HistoryStore.h"
#include "platform/Clipboard.h"
#include "ui/history/DayClock.h"
#include "ui/history/UserFormats.h"

#include <QDeadlineTimer>
#include <QPointer>

#include <algorithm>
#include <iterator>
#include <limits>

using namespace std::chrono_literals;

namespace tavrik {

namespace {

constexpr auto copyConfirmation = 1200ms;
/// Leaves time to draw a frame.
constexpr auto indexingSlice = 4ms;
/// Texts between two looks at the clock.
constexpr std::size_t indexingStep = 256;
constexpr auto removedRecord = std::numeric_limits<quint32>::max();

} // namespace

TranscriptionModel::TranscriptionModel(Scope scope, const std::string& locale,
                                       const Dependencies& dependencies, QObject* parent)
    : QAbstractListModel(parent), m_scope(scope), m_dependencies(dependencies), m_index(locale) {
    m_indexing.setInterval(0ms);
    connect(&m_indexing, &QTimer::timeout, this, &TranscriptionModel::continueSearch);
    connect(&m_dependencies.store, &HistoryStore::inserted, this, &TranscriptionModel::storeInserted);
    connect(&m_dependencies.store, &HistoryStore::removed, this, &TranscriptionModel::storeRemoved);
    connect(&m_dependencies.clock, &DayClock::changed, this, &TranscriptionModel::rebuild);
    rebuild();
}

QString TranscriptionModel::query() const {
    return m_query;
}

void TranscriptionModel::setQuery(const QString& query) {
    if (query == m_query)
        return;
    const bool wasEmpty = isEmpty();
    m_query = query;
    if (!m_query.isEmpty())
        growIndex();
    replaceRows(matchesFrom(0));
    tellIfEmpty(wasEmpty);
    Q_EMIT queryChanged();
}

bool TranscriptionModel::isEmpty() const {
    return m_rows.empty() && (m_query.isEmpty() || isIndexed());
}

void TranscriptionModel::open() {
    m_open = true;
    std::size_t bytes = 0;
    for (const auto record : m_all)
        bytes += static_cast<std::size_t>(m_dependencies.store.items().at(record).text.size());
    m_index.reserve(m_all.size(), bytes);
    m_indexing.start();
}

void TranscriptionModel::close() {
    setQuery({});
    m_open = false;
    m_indexing.stop();
    m_index.clear();
}

void TranscriptionModel::copy(int row) {
    const auto* record = recordAt(row);
    if (!record)
        return;
    m_dependencies.clipboard.setText(QString::fromUtf8(record->text));
    m_copied.insert(record->id);
    announce(row, row, {copiedRole});
    m_dependencies.queue.postAfter(copyConfirmation, [self = QPointer(this), id = record->id] {
        if (self)
            self->endCopyConfirmation(id);
    });
}

void TranscriptionModel::remove(int row) {
    if (const auto* record = recordAt(row))
        m_dependencies.store.remove(QUuid(record->id));
}

int TranscriptionModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant TranscriptionModel::data(const QModelIndex& index, int role) const {
    const int row = index.row();
    const auto* record = recordAt(row);
    if (!record)
        return {};

    switch (role) {
    case textRole:
        return QString::fromUtf8(record->text);
    case timeRole:
        return UserFormats::time(toDateTime(record->date).time());
    case dayTitleRole:
        if (m_scope == Scope::today || !startsDay(row))
            return QString();
        return m_dependencies.formats.dayTitle(QDate::fromJulianDay(dayOfRow(row)),
                                               m_dependencies.clock.today());
    case dayCaptionRole:
        return m_dependencies.formats.caption(data(index, dayTitleRole).toString());
    case firstOfDayRole:
        return startsDay(row);
    case lastOfDayRole:
        return row + 1 == rowCount() || startsDay(row + 1);
    case copiedRole:
        return m_copied.contains(record->id);
    default:
        return {};
    }
}

QHash<int, QByteArray> TranscriptionModel::roleNames() const {
    return {
        {textRole, "text"},
        {timeRole, "time"},
        {dayTitleRole, "dayTitle"},
        {dayCaptionRole, "dayCaption"},
        {firstOfDayRole, "firstOfDay"},
        {lastOfDayRole, "lastOfDay"},
        {copiedRole, "copied"},
    };
}

void TranscriptionModel::rebuild() {
    const bool wasEmpty = isEmpty();
    beginResetModel();
    const auto count = static_cast<quint32>(m_dependencies.store.items().size());
    m_days.clear();
    m_days.reserve(count);
    m_all.clear();
    for (quint32 i = 0; i < count; ++i) {
        m_days.push_back(dayOfRecord(i));
        if (isShown(i))
            m_all.push_back(i);
    }
    // Days are out of order only if the clock was set back.
    std::ranges::stable_sort(m_all, std::greater(), [this](quint32 record) { return m_days[record]; });
    m_index.clear();
    if (m_open || !m_query.isEmpty())
        growIndex();
    m_rows = matchesFrom(0);
    endResetModel();
    tellIfEmpty(wasEmpty);
}

void TranscriptionModel::storeInserted(qsizetype first, qsizetype last) {
    const bool wasEmpty = isEmpty();
    const auto count = static_cast<quint32>(last - first + 1);
    for (auto* rows : {&m_all, &m_rows}) {
        for (auto& record : *rows)
            record += record >= first ? count : 0;
    }
    m_days.insert(m_days.begin() + first, count, 0);
    for (auto i = first; i <= last; ++i)
        m_days[static_cast<std::size_t>(i)] = dayOfRecord(i);
    for (auto i = first; i <= last; ++i) {
        if (isShown(static_cast<quint32>(i)))
            insertRow(static_cast<quint32>(i));
    }
    tellIfEmpty(wasEmpty);
}

void TranscriptionModel::insertRow(quint32 record) {
    const auto& text = m_dependencies.store.items().at(record).text;
    const auto place = m_all.insert(placeIn(m_all, record), record);
    const auto position = static_cast<std::size_t>(place - m_all.begin());
    const bool known =
        position < m_index.size() || (position == m_index.size() && (m_open || !m_query.isEmpty()));
    if (known)
        m_index.insert(position, text);

    if (!m_query.isEmpty()) {
        // What is not indexed yet is searched later.
        const auto found = known ? m_index.find(m_query.toUtf8(), position) : std::vector<quint32>();
        if (found.empty() || found.front() != position)
            return;
    }
    const auto at = placeIn(m_rows, record);
    const auto row = static_cast<int>(at - m_rows.begin());
    beginInsertRows({}, row, row);
    m_rows.insert(at, record);
    endInsertRows();
    announce(row - 1, row + 1, {dayTitleRole, dayCaptionRole, firstOfDayRole, lastOfDayRole});
}

void TranscriptionModel::storeRemoved(qsizetype first, qsizetype last) {
    const bool wasEmpty = isEmpty();
    const auto count = static_cast<quint32>(last - first + 1);
    for (auto* rows : {&m_all, &m_rows}) {
        for (auto& record : *rows) {
            if (record > last)
                record -= count;
            else if (record >= first)
                record = removedRecord;
        }
    }
    m_days.erase(m_days.begin() + first, m_days.begin() + last + 1);
    for (auto i = m_all.size(); i-- > 0;) {
        if (m_all[i] != removedRecord)
            continue;
        if (i < m_index.size())
            m_index.remove(i);
        m_all.erase(m_all.begin() + static_cast<std::ptrdiff_t>(i));
    }
    for (auto row = rowCount() - 1; row >= 0; --row) {
        if (m_rows[static_cast<std::size_t>(row)] != removedRecord)
            continue;
        beginRemoveRows({}, row, row);
        m_rows.erase(m_rows.begin() + row);
        endRemoveRows();
        announce(row - 1, row, {dayTitleRole, dayCaptionRole, firstOfDayRole, lastOfDayRole});
    }
    tellIfEmpty(wasEmpty);
}

// Rows are reused for other records, and inserted or removed only at the end: a keystroke then costs as much
// as the visible rows.
void TranscriptionModel::replaceRows(Rows rows) {
    const auto before = static_cast<int>(m_rows.size());
    const auto after = static_cast<int>(rows.size());
    const auto same = static_cast<int>(std::ranges::mismatch(m_rows, rows).in1 - m_rows.begin());
    if (after < before) {
        beginRemoveRows({}, after, before - 1);
        m_rows = std::move(rows);
        endRemoveRows();
    } else if (after > before) {
        beginInsertRows({}, before, after - 1);
        m_rows = std::move(rows);
        endInsertRows();
    } else {
        m_rows = std::move(rows);
    }
    announce(same - 1, std::min(before, after) - 1, {});
}

void TranscriptionModel::announce(qsizetype first, qsizetype last, const QList<int>& roles) {
    const auto from = std::max<qsizetype>(first, 0);
    const auto to = std::min<qsizetype>(last, rowCount() - 1);
    if (from <= to)
        Q_EMIT dataChanged(index(static_cast<int>(from)), index(static_cast<int>(to)), roles);
}

void TranscriptionModel::endCopyConfirmation(const QUuid& id) {
    m_copied.remove(id);
    const auto& items = m_dependencies.store.items();
    const auto row = std::ranges::find(m_rows, id, [&items](quint32 record) { return items.at(record).id; });
    if (row != m_rows.end())
        announce(row - m_rows.begin(), row - m_rows.begin(), {copiedRole});
}

qint32 TranscriptionModel::dayOfRecord(qsizetype record) const {
    return static_cast<qint32>(m_dependencies.clock.dayOf(m_dependencies.store.items().at(record).date));
}

bool TranscriptionModel::isShown(quint32 record) const {
    return m_scope == Scope::all || m_days[record] == m_dependencies.clock.today().toJulianDay();
}

const Transcription* TranscriptionModel::recordAt(int row) const {
    if (row < 0 || row >= rowCount() || m_rows[static_cast<std::size_t>(row)] == removedRecord)
        return nullptr;
    return &m_dependencies.store.items().at(m_rows[static_cast<std::size_t>(row)]);
}

qint32 TranscriptionModel::dayOfRow(int row) const {
    const auto record = m_rows[static_cast<std::size_t>(row)];
    return record == removedRecord ? 0 : m_days[record];
}

bool TranscriptionModel::startsDay(int row) const {
    return row == 0 || dayOfRow(row) != dayOfRow(row - 1);
}

TranscriptionModel::Rows::iterator TranscriptionModel::placeIn(Rows& rows, quint32 record) const {
    return std::ranges::lower_bound(rows, record, [this](quint32 a, quint32 b) {
        return m_days[a] != m_days[b] ? m_days[a] > m_days[b] : a < b;
    });
}

TranscriptionModel::Rows TranscriptionModel::matchesFrom(std::size_t first) const {
    if (m_query.isEmpty())
        return m_all;
    const auto found = m_index.find(m_query.toUtf8(), first);
    Rows rows;
    rows.reserve(found.size());
    std::ranges::transform(found, std::back_inserter(rows),
                           [this](quint32 position) { return m_all[position]; });
    return rows;
}

void TranscriptionModel::growIndex() {
    const QDeadlineTimer until(indexingSlice);
    while (!isIndexed() && !until.hasExpired()) {
        const auto end = std::min(m_index.size() + indexingStep, m_all.size());
        for (auto i = m_index.size(); i < end; ++i)
            m_index.insert(i, m_dependencies.store.items().at(m_all[i]).text);
    }
    if (isIndexed())
        m_indexing.stop();
    else if (!m_indexing.isActive())
        m_indexing.start();
}

void TranscriptionModel::continueSearch() {
    const bool wasEmpty = isEmpty();
    const auto searched = m_index.size();
    growIndex();
    if (!m_query.isEmpty()) {
        if (const auto found = matchesFrom(searched); !found.empty()) {
            const auto end = rowCount();
            beginInsertRows({}, end, end + static_cast<int>(found.size()) - 1);
            m_rows.insert(m_rows.end(), found.begin(), found.end());
            endInsertRows();
            announce(end - 1, end - 1, {lastOfDayRole});
        }
    }
    tellIfEmpty(wasEmpty);
}

void TranscriptionModel::tellIfEmpty(bool wasEmpty) {
    if (isEmpty() != wasEmpty)
        Q_EMIT emptyChanged();
}

} // namespace tavrik
