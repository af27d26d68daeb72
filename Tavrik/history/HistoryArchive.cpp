#include "history/HistoryArchive.h"

#include "base/PrivateFiles.h"
#include "base/PrivateSaveFile.h"
#include "history/HistoryDecoder.h"
#include "history/HistoryEncoder.h"
#include "history/WordCount.h"

#include <QFileInfo>

#include <algorithm>
#include <limits>
#include <utility>

namespace tavrik {

using namespace Qt::StringLiterals;

namespace {

bool isNewer(const Transcription& a, const Transcription& b) {
    return a.date > b.date;
}

} // namespace

HistoryArchive::HistoryArchive(const QString& folder)
    : m_folder(folder), m_path(folder + u"/history.json"_s) {
    m_thread.setMaxThreadCount(1);
    m_thread.setExpiryTimeout(0);
    m_thread.start([this] { m_content.set_value(load()); });
}

HistoryArchive::~HistoryArchive() = default;

HistoryArchive::Content HistoryArchive::takeContent() {
    return m_content.get_future().get();
}

void HistoryArchive::save(const QList<Transcription>& records) {
    const std::scoped_lock lock(m_mutex);
    if (!std::exchange(m_pending, records))
        m_thread.start([this] { savePending(); });
}

std::optional<Error> HistoryArchive::saveError() const {
    const std::scoped_lock lock(m_mutex);
    return m_saveError;
}

HistoryArchive::Content HistoryArchive::load() {
    makePrivateFolder(m_folder);
    PrivateSaveFile::removeLeftovers(m_path);
    if (!QFileInfo::exists(m_path))
        return {};
    narrowToOwner(m_path);
    // Before it is read: a change in between counts as somebody else's.
    m_known = fileState(m_path);
    auto records = readRegularFile(m_path, std::numeric_limits<qint32>::max()).and_then(decodeHistory);
    if (!records) {
        m_fileNotDecoded = true;
        return {};
    }
    if (!std::ranges::is_sorted(*records, isNewer))
        std::ranges::stable_sort(*records, isNewer);
    qint64 words = 0;
    for (const auto& record : std::as_const(*records))
        words += wordCount(record.text);
    return {.records = *std::move(records), .words = words};
}

void HistoryArchive::savePending() {
    std::optional<QList<Transcription>> records;
    {
        const std::scoped_lock lock(m_mutex);
        records.swap(m_pending);
    }
    if (!records)
        return;
    const auto saved = replaceFile(*records);
    const std::scoped_lock lock(m_mutex);
    m_saveError = saved ? std::nullopt : std::optional(saved.error());
}

Result<void> HistoryArchive::replaceFile(const QList<Transcription>& records) {
    makePrivateFolder(m_folder);
    if (!keepOthersWork())
        return std::unexpected(Error{u"What stands in the file's place could not be kept"_s});
    PrivateSaveFile file(m_path);
    encodeHistory(records, [&file](QByteArrayView piece) { file.write(piece); });
    if (!file.commit())
        return std::unexpected(file.error());
    m_known = file.state();
    return {};
}

bool HistoryArchive::keepOthersWork() {
    const auto found = fileState(m_path);
    if (!found || (found == m_known && !m_fileNotDecoded))
        return true;
    const auto mark = found == m_known ? u"unreadable"_s : u"changed elsewhere"_s;
    if (!keepAside(m_path, mark))
        return false;
    // One copy is enough, even if the saving fails now.
    m_known = found;
    m_fileNotDecoded = false;
    if (mark != u"unreadable")
        pruneKeptAside(m_path, mark, 3);
    return true;
}

} // namespace tavrik
