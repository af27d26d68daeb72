#include "history/HistoryArchive.h"

#include "base/FileReplacement.h"
#include "base/PrivateFiles.h"
#include "history/HistoryFile.h"
#include "history/WordCount.h"

#include <QFileInfo>

#include <algorithm>
#include <limits>
#include <utility>

namespace tavrik {

namespace {

bool isNewer(const Transcription& a, const Transcription& b) {
    return a.date > b.date;
}

} // namespace

HistoryArchive::HistoryArchive(const QString& folder)
    : m_folder(folder), m_path(folder + QStringLiteral("/history.json")),
      m_thread([this](const std::stop_token& stop) { run(stop); }) {}

HistoryArchive::~HistoryArchive() = default;

HistoryArchive::Content HistoryArchive::takeContent() {
    return m_content.get_future().get();
}

void HistoryArchive::apply(Change change) {
    {
        const std::scoped_lock lock(m_mutex);
        m_changes.push_back(std::move(change));
    }
    m_changed.notify_one();
}

void HistoryArchive::run(const std::stop_token& stop) {
    m_content.set_value(load());
    while (true) {
        std::vector<Change> changes;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, stop, [this] { return !m_changes.empty(); });
            changes.swap(m_changes);
        }
        if (changes.empty())
            return;
        for (const auto& change : changes)
            change(m_records);
        save();
    }
}

HistoryArchive::Content HistoryArchive::load() {
    makePrivateFolder(m_folder);
    FileReplacement::removeLeftovers(m_path);
    if (!QFileInfo::exists(m_path))
        return {};
    narrowToOwner(m_path);
    auto decoded = readRegularFile(m_path, std::numeric_limits<qint32>::max()).and_then(decodeHistory);
    if (!decoded) {
        m_fileNotDecoded = true;
        return {};
    }
    m_records = std::move(*decoded);
    if (!std::ranges::is_sorted(m_records, isNewer))
        std::ranges::stable_sort(m_records, isNewer);
    Content content;
    // A copy of its own: a shared one would be made at the first change, on the thread that changes it.
    content.records = QList<Transcription>(m_records.cbegin(), m_records.cend());
    for (const auto& record : std::as_const(m_records))
        content.words += wordCount(record.text);
    return content;
}

void HistoryArchive::save() {
    makePrivateFolder(m_folder);
    if (m_fileNotDecoded && !keepAside(m_path))
        return;
    m_fileNotDecoded = false;
    FileReplacement file(m_path);
    encodeHistory(m_records, [&file](QByteArrayView bytes) { file.write(bytes); });
    file.commit();
}

} // namespace tavrik
