#include "history/HistoryDecoder.h"

// Nothing of the parser may throw.
#define SIMDJSON_EXCEPTIONS 0
#include <QByteArrayView>
#include <QtEndian>

#include <simdjson.h>

#include <charconv>
#include <concepts>
#include <cstring>
#include <string_view>
#include <utility>

namespace tavrik {

namespace {

namespace json = simdjson::ondemand;

// Whether the digits at these places are a number and nothing else.
template<std::integral Number>
bool readDigits(std::string_view text, size_t at, size_t count, Number& number, int base = 10) {
    const auto* end = text.data() + at + count;
    return text[at] != '-' && std::from_chars(text.data() + at, end, number, base).ptr == end;
}

// yyyy-MM-ddTHH:mm:ssZ and no other form of ISO 8601, of which QDateTime::fromString() takes many.
std::optional<Timestamp> decodeDate(std::string_view text) {
    if (text.size() != 20 || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' ||
        text[16] != ':' || text[19] != 'Z')
        return std::nullopt;
    int year = 0, hour = 0, minute = 0, second = 0;
    unsigned month = 0, day = 0;
    if (!readDigits(text, 0, 4, year) || !readDigits(text, 5, 2, month) || !readDigits(text, 8, 2, day) ||
        !readDigits(text, 11, 2, hour) || !readDigits(text, 14, 2, minute) ||
        !readDigits(text, 17, 2, second))
        return std::nullopt;
    using namespace std::chrono;
    const year_month_day date{std::chrono::year(year), std::chrono::month(month), std::chrono::day(day)};
    if (year == 0 || !date.ok() || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    return sys_days(date) + hours(hour) + minutes(minute) + seconds(second);
}

// QUuid::fromString() adds 11 ms to the loading of 100,000 records, which takes 24: 4.5 times its floor, the
// goal.
std::optional<QUuid> decodeId(std::string_view text) {
    if (text.size() != 36 || text[8] != '-' || text[13] != '-' || text[18] != '-' || text[23] != '-')
        return std::nullopt;
    uint first = 0;
    ushort second = 0, third = 0, fourth = 0;
    quint64 last = 0;
    if (!readDigits(text, 0, 8, first, 16) || !readDigits(text, 9, 4, second, 16) ||
        !readDigits(text, 14, 4, third, 16) || !readDigits(text, 19, 4, fourth, 16) ||
        !readDigits(text, 24, 12, last, 16))
        return std::nullopt;
    const quint64 tail = qToBigEndian(quint64{fourth} << 48 | last);
    QUuid id(first, second, third, 0, 0, 0, 0, 0, 0, 0, 0);
    std::memcpy(id.data4, &tail, sizeof tail);
    return id;
}

// The text without its quotes; without escapes it is taken from the document as it stands, whose UTF-8 the
// parser has checked beforehand. get_string() for all adds 14 ms.
std::optional<std::string_view> decodeString(json::value value) {
    const auto token = value.raw_json_token();
    const auto end = token.find_last_of('"');
    if (!token.starts_with('"') || end == 0)
        return std::nullopt;
    const auto inner = token.substr(1, end - 1);
    if (inner.empty() || std::memchr(inner.data(), '\\', inner.size()) != nullptr) {
        std::string_view text;
        if (value.get_string().get(text) != simdjson::SUCCESS)
            return std::nullopt;
        return text;
    }
    json::raw_json_string consumed;
    if (value.get_raw_json_string().get(consumed) != simdjson::SUCCESS)
        return std::nullopt;
    return inner;
}

// The on-demand parser checks only what is read, and goes on behind a value only when that was read: lists
// and objects go through the other parser.
bool isValid(json::value value) {
    json::json_type type{};
    if (value.type().get(type) != simdjson::SUCCESS)
        return false;
    switch (type) {
    case json::json_type::string:
        return value.get_string().error() == simdjson::SUCCESS;
    case json::json_type::number:
        return value.get_double().error() == simdjson::SUCCESS;
    case json::json_type::boolean:
        return value.get_bool().error() == simdjson::SUCCESS;
    case json::json_type::null: {
        bool isNull = false;
        return value.is_null().get(isNull) == simdjson::SUCCESS && isNull;
    }
    default:
        break;
    }
    std::string_view text;
    simdjson::dom::parser parser;
    return simdjson::to_json_string(value).get(text) == simdjson::SUCCESS &&
           parser.parse(text.data(), text.size()).error() == simdjson::SUCCESS;
}

template<class Value>
bool assign(std::optional<Value> decoded, Value& member) {
    if (!decoded)
        return false;
    member = *std::move(decoded);
    return true;
}

enum Member : unsigned { hasDate = 1, hasDuration = 2, hasId = 4, hasText = 8, hasAll = 15 };

bool decodeMember(std::string_view name, json::value value, Transcription& record, unsigned& seen) {
    if (name == "duration") {
        seen |= hasDuration;
        const QByteArrayView number(value.raw_json_token());
        if (value.get_double().get(record.duration) != simdjson::SUCCESS)
            return false;
        // simdjson 3.0, Debian 12's, misreads fractions of more digits.
        if (number.size() > 20)
            record.duration = number.trimmed().toDouble();
        return true;
    }
    if (name == "date") {
        seen |= hasDate;
        return assign(decodeString(value).and_then(decodeDate), record.date);
    }
    if (name == "id") {
        seen |= hasId;
        return assign(decodeString(value).and_then(decodeId), record.id);
    }
    if (name == "text") {
        seen |= hasText;
        const auto text = decodeString(value);
        if (text)
            record.text = QByteArray(text->data(), static_cast<qsizetype>(text->size()));
        return text.has_value();
    }
    return isValid(value);
}

bool decodeRecord(json::object object, Transcription& record) {
    unsigned seen = 0;
    for (auto field : object) {
        std::string_view name;
        json::value value;
        if (field.unescaped_key().get(name) != simdjson::SUCCESS ||
            field.value().get(value) != simdjson::SUCCESS || !decodeMember(name, value, record, seen))
            return false;
    }
    return seen == hasAll;
}

} // namespace

std::optional<QList<Transcription>> decodeHistory(QByteArray bytes) {
    const auto size = bytes.size();
    bytes.reserve(size + static_cast<qsizetype>(simdjson::SIMDJSON_PADDING));
    json::parser parser;
    json::document document;
    json::array array;
    if (parser.iterate(bytes.data(), static_cast<size_t>(size), static_cast<size_t>(bytes.capacity()))
                .get(document) != simdjson::SUCCESS ||
        document.get_array().get(array) != simdjson::SUCCESS)
        return std::nullopt;
    QList<Transcription> records;
    for (auto element : array) {
        json::object object;
        if (element.get_object().get(object) != simdjson::SUCCESS ||
            !decodeRecord(object, records.emplaceBack()))
            return std::nullopt;
    }
    // At the end of the document the parser has no location: if there is one, something follows the array.
    if (document.current_location().error() != simdjson::OUT_OF_BOUNDS)
        return std::nullopt;
    return records;
}

} // namespace tavrik
