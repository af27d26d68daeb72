#include "history/HistoryDecoder.h"
#include "history/HistoryEncoder.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>
#include <cstdlib>

using namespace tavrik;

namespace {

QByteArray encoded(const QList<Transcription>& records) {
    QByteArray json;
    encodeHistory(records, [&json](QByteArrayView piece) { json.append(piece); });
    return json;
}

// Whether QJsonDocument reads the same from the document.
bool agrees(const QList<Transcription>& records, const QByteArray& json) {
    QJsonParseError error;
    const auto document = QJsonDocument::fromJson(json, &error);
    // QJsonDocument refuses numbers too small for a double.
    if (error.error == QJsonParseError::IllegalNumber)
        return true;
    const auto array = document.array();
    if (!document.isArray() || array.size() != records.size())
        return false;
    for (qsizetype i = 0; i < records.size(); ++i) {
        const auto& record = records.at(i);
        const auto object = array.at(i);
        if (!std::isfinite(record.duration) || record.text != object["text"].toString().toUtf8() ||
            record.duration != object["duration"].toDouble())
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray json(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto records = decodeHistory(json);
    if (!records)
        return 0;
    const auto saved = encoded(*records);
    if (!agrees(*records, json) || decodeHistory(saved) != records ||
        decodeHistory(saved.chopped(2)).has_value())
        std::abort();
    return 0;
}
