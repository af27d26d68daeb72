#pragma once

#include "ui/history/TextIndex.h"

#include <QAbstractListModel>
#include <QSet>
#include <QTimer>
#include <QUuid>
#include <QtQml/qqmlregistration.h>

#include <vector>

namespace tavrik {

class Clipboard;
class DayClock;
class HistoryStore;
class MainQueue;
class UserFormats;
struct Transcription;

/// The records of one page as rows: all of them or today's, of these the ones that contain what is searched,
/// newest day first. Rows are numbers into the store; texts are made when a row comes into view. Main thread
/// only.
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
        /// The title of the row's day, where the row is its first and the model shows all days; else empty.
        dayTitleRole,
        /// The same as a caption shows it.
        dayCaptionRole,
        firstOfDayRole,
        lastOfDayRole,
        /// The text was copied a moment ago.
        copiedRole,
    };

    struct Collaborators {
        HistoryStore& store;
        DayClock& clock;
        const UserFormats& formats;
        Clipboard& clipboard;
        MainQueue& queue;
    };

    TranscriptionModel(Scope scope, SearchFold fold, Collaborators with, QObject* parent = nullptr);

    QString query() const;
    /// Shows the records that contain `query`; an empty one shows all.
    void setQuery(const QString& query);

    /// Nothing is shown, and no search is under way that may still find something.
    bool isEmpty() const;

    /// A page begins to show this model: the search is made ready, a little at a time.
    Q_INVOKABLE void open();
    /// The page is gone, and with it the query and what was made for searching.
    Q_INVOKABLE void close();

    /// Puts the row's text on the clipboard, and says so in copiedRole for 1.2 seconds.
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

    /// Null when there is no such row, as may be with a click on one that is just going.
    const Transcription* recordAt(int row) const;
    qint32 dayOfRecord(qsizetype record) const;
    qint32 dayOfRow(int row) const;
    bool isShown(quint32 record) const;
    bool startsDay(int row) const;
    /// Where a record stands, or would, among rows.
    Rows::iterator placeIn(Rows& rows, quint32 record) const;
    /// Those of m_all from position `first` on that match the query, as far as the index has come.
    Rows matchesFrom(std::size_t first) const;
    bool isIndexed() const { return m_index.size() == m_all.size(); }
    /// Adds texts to the index for a few milliseconds, and has it go on later if some are missing.
    void growIndex();
    void searchOn();

    const Scope m_scope;
    const SearchFold m_fold;
    const Collaborators m_with;
    QString m_query;
    /// Julian day of each of the store's records.
    std::vector<qint32> m_days;
    /// What is shown without a query, and what is shown.
    Rows m_all;
    Rows m_rows;
    /// While a page is open: the texts of m_all from its beginning, as far as it has come. What is newest is
    /// thus found at once, however long the history is.
    TextIndex m_index;
    QTimer m_indexing;
    bool m_open = false;
    QSet<QUuid> m_copied;
};

} // namespace tavrik
