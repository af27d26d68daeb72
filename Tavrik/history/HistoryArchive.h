#pragma once

#include "base/PrivateFiles.h"
#include "base/Result.h"
#include "history/Transcription.h"

#include <QList>
#include <QString>
#include <QThreadPool>

#include <future>
#include <mutex>
#include <optional>

namespace tavrik {

/// Reads and writes the history file on a thread of its own. Its functions are called on one thread.
class HistoryArchive {
public:
    struct Content {
        QList<Transcription> records;
        /// Words of all texts.
        qint64 words = 0;
    };

    /// Creates the folder and starts to read its history.json.
    explicit HistoryArchive(const QString& folder);
    HistoryArchive(const HistoryArchive&) = delete;
    HistoryArchive& operator=(const HistoryArchive&) = delete;

    ~HistoryArchive();

    /// Waits until everything has been saved, or its saving has failed, as the destructor does.
    void waitUntilSaved() { m_thread.waitForDone(); }

    /// Waits for what was read, newest first; empty when the file could not be read. May be called once.
    Content takeContent();

    /// Starts to replace the file. While one save runs, only the last of those asked for is kept. A file
    /// that could not be decoded, or that somebody else has changed, is kept aside before it is replaced.
    void save(const QList<Transcription>& records);

    /// Why the latest save has failed; nothing if it has not.
    std::optional<Error> saveError() const;

private:
    Content load();
    void savePending();
    Result<void> replaceFile(const QList<Transcription>& records);
    /// False when what is not ours in the file could not be kept.
    bool keepOthersWork();

    const QString m_folder;
    const QString m_path;
    /// Of the archive's thread only.
    bool m_fileNotDecoded = false;
    /// The file as it was last read or written here. Of the archive's thread only.
    std::optional<FileState> m_known;
    std::promise<Content> m_content;
    mutable std::mutex m_mutex;
    std::optional<QList<Transcription>> m_pending;
    std::optional<Error> m_saveError;
    /// One thread, which ends when it has nothing to do. Destroyed first: that waits for its jobs.
    QThreadPool m_thread;
};

} // namespace tavrik
