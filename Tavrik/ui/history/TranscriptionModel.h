#pragma once

#include "ui/history/SearchIndex.h"

#include <QAbstractListModel>
#include <QSet>
#include <QTimer>
#include <QUuid>
#include <QtQml/qqmlregistration.h>

#include <string>
#include <vector>

namespace tavrik {

class Clipboard;
class DayClock;
class HistoryStore;
class MainQueue;
class UserFormats;
struct Transcription;

/// The records of one page: all or today's, filtered by a query, newest day first. Main thread only.
class TranscriptionModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window")
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    Q_PROPERTY(bool empty READ isEmpty NOTIFY emptyChanged)

public:
    enum class Scope { all, today };
    enum Role {
        textRole = Qt::UserRole,
        timeRole,
        /// The day's title in its first row, where the model shows all days; else empty.
        dayTitleRole,
        /// The same in upper case.
        dayCaptionRole,
        firstOfDayRole,
        lastOfDayRole,
        /// The text was copied a moment ago.
        copiedRole,
    };

    struct Dependencies {
        HistoryStore& store;
        DayClock& clock;
        const UserFormats& formats;
        Clipboard& clipboard;
        MainQueue& queue;
    };

    /// `locale` says how searches compare texts ("tr_TR").
    TranscriptionModel(Scope scope, const std::string& locale, const Dependencies& dependencies,
                       QObject* parent = nullptr);

    QString query() const;
    /// Shows the records that contain `query`; an empty one shows all.
    void setQuery(const QString& query);

    /// No rows, and no search still running.
    bool isEmpty() const;

    /// A page shows this model: starts to build the search index.
    Q_INVOKABLE void open();
    /// The page is gone: drops the query and the index.
    Q_INVOKABLE void close();

    /// Puts the row's text on the clipboard and sets copiedRole for 1.2 seconds.
    Q_INVOKABLE void copy(int row);
    /// Deletes the row's record from the history.
    Q_INVOKABLE void remove(int row);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void queryChanged();
    void emptyChanged();

private:
    /// Positions in the store, in the order in which they are shown.
    using Rows = std::vector<quint32>;

    void rebuild();
    void storeInserted(qsizetype first, qsizetype last);
    void storeRemoved(qsizetype first, qsizetype last);
    void insertRow(quint32 record);
    void replaceRows(Rows rows);
    void announce(qsizetype first, qsizetype last, const QList<int>& roles);
    void tellIfEmpty(bool wasEmpty);
    void endCopyConfirmation(const QUuid& id);

    /// Null when there is no such row.
    const Transcription* recordAt(int row) const;
    qint32 dayOfRecord(qsizetype record) const;
    qint32 dayOfRow(int row) const;
    bool isShown(quint32 record) const;
    bool startsDay(int row) const;
    /// Where a record is, or would be inserted, in rows.
    Rows::iterator placeIn(Rows& rows, quint32 record) const;
    /// The indexed records of m_all from position `first` on that match the query.
    Rows matchesFrom(std::size_t first) const;
    bool isIndexed() const { return m_index.size() == m_all.size(); }
    /// Indexes texts for a few milliseconds, and schedules the rest.
    void growIndex();
    void continueSearch();

    const Scope m_scope;
    const Dependencies m_dependencies;
    QString m_query;
    /// Julian day of each of the store's records.
    std::vector<qint32> m_days;
    /// The rows without a query, and those that match it.
    Rows m_all;
    Rows m_rows;
    /// The texts of m_all from its beginning, while a page is open. Indexing 100,000 texts at the first
    /// keystroke would take 60 ms; in slices, the newest are found at once.
    SearchIndex m_index;
    QTimer m_indexing;
    bool m_open = false;
    QSet<QUuid> m_copied;
};

} // namespace tavrik
