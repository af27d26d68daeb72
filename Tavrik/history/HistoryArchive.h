#pragma once

#include "history/Transcription.h"

#include <QList>
#include <QString>

#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

namespace tavrik {

/// The file behind the history and the thread that reads and writes it. The thread keeps a list of its own,
/// to which it makes the same changes, so that nobody waits for a save or copies the history for one.
class HistoryArchive {
public:
    struct Content {
        QList<Transcription> records;
        /// Words of all texts.
        qint64 words = 0;
    };
    /// One change of the list; run on the archive's thread.
    using Change = std::function<void(QList<Transcription>&)>;

    /// Makes the folder and begins to read its history.json.
    explicit HistoryArchive(const QString& folder);
    HistoryArchive(const HistoryArchive&) = delete;
    HistoryArchive& operator=(const HistoryArchive&) = delete;

    /// Waits until every change has been saved, or its saving has failed.
    ~HistoryArchive();

    /// What was read, newest first, nothing when the file could not be: waits for it. May be called once.
    Content takeContent();

    /// Makes the change and saves, after those before it. Changes that have piled up are saved together.
    /// Failures are silent; the next change tries again. A file that could not be decoded is kept aside
    /// before it is replaced.
    void apply(Change change);

private:
    void run(const std::stop_token& stop);
    Content load();
    void save();

    const QString m_folder;
    const QString m_path;

    // The thread's own.
    QList<Transcription> m_records;
    bool m_fileNotDecoded = false;

    std::promise<Content> m_content;
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::vector<Change> m_changes;
    std::jthread m_thread;
};

} // namespace tavrik
