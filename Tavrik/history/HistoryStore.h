#pragma once

#include "history/HistoryArchive.h"
#include "history/Transcription.h"

#include <QList>
#include <QObject>
#include <QString>

namespace tavrik {

/// Every successful dictation, newest first, in memory and in one file. Main thread only; the file is read
/// and written by a thread of the store's own, changes in order, each soon after it was made. What could not
/// be saved is saved with the next change.
class HistoryStore : public QObject {
    Q_OBJECT

public:
    /// `folder` is made if missing. Reading the file begins at once, on the store's thread; the first use of
    /// the records waits for it.
    explicit HistoryStore(const QString& folder, QObject* parent = nullptr);

    ~HistoryStore() override;

    /// Waits until every change is on disk.
    void waitUntilSaved() { m_archive.waitUntilSaved(); }

    /// Why the latest save has failed; nothing if it has not.
    std::optional<Error> saveError() const { return m_archive.saveError(); }

    const QList<Transcription>& items() const;

    /// Puts the record first and saves. The text must be valid UTF-8.
    void insertFirst(Transcription record);

    /// Removes every record with this id and saves.
    void remove(QUuid id);

    /// Words of all texts, separated by Unicode white space.
    qint64 totalWords() const;
    /// Words spoken per minute of recording, rounded to the nearest, halves away from zero; 0 for one second
    /// or less.
    qint64 wordsPerMinute() const;
    /// Different days of the records in the user's time zone, as it is now.
    qint64 daysUsed() const;

Q_SIGNALS:
    /// Records were added at, or removed from, the positions `first` to `last` in items().
    void inserted(qsizetype first, qsizetype last);
    void removed(qsizetype first, qsizetype last);

private:
    void waitForContent() const;

    // The content is filled in by the first use, which may be one that only reads.
    mutable HistoryArchive m_archive;
    mutable HistoryArchive::Content m_content;
    mutable bool m_hasContent = false;
};

} // namespace tavrik
