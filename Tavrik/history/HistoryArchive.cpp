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

HistoryArchive::Content HistoryArchive::load() {
    makePrivateFolder(m_folder);
    PrivateSaveFile::removeLeftovers(m_path);
    if (!QFileInfo::exists(m_path))
        return {};
    narrowToOwner(m_path);
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
    makePrivateFolder(m_folder);
    if (m_fileNotDecoded && !keepAside(m_path))
        return;
    m_fileNotDecoded = false;
    PrivateSaveFile file(m_path);
    encodeHistory(*records, [&file](QByteArrayView piece) { file.write(piece); });
    file.commit();
}

} // namespace tavrik
