#include "storage/HistoryFile.h"

#include <simdjson.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>
#include <string_view>

namespace tavrik {

namespace {

namespace chrono = std::chrono;
namespace json = simdjson::ondemand;
using Seconds = chrono::sys_seconds;

constexpr std::string_view datePattern = "dddd-dd-ddTdd:dd:ddZ";
constexpr std::string_view idPattern = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// 'd' stands for a decimal digit, 'x' for a hexadecimal one, everything else for itself.
bool matches(std::string_view text, std::string_view pattern) {
    return std::ranges::equal(text, pattern, [](char c, char expected) {
        if (expected == 'd')
            return isDigit(c);
        if (expected == 'x')
            return isDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
        return c == expected;
    });
}

std::optional<QDateTime> decodeDate(std::string_view text) {
    if (!matches(text, datePattern))
        return std::nullopt;
    const auto number = [text](size_t first, size_t digits) {
        int value = 0;
        for (const char c : text.substr(first, digits))
            value = value * 10 + (c - '0');
        return value;
    };
    const chrono::year_month_day day(chrono::year(number(0, 4)),
                                     chrono::month(static_cast<unsigned>(number(5, 2))),
                                     chrono::day(static_cast<unsigned>(number(8, 2))));
    const int hour = number(11, 2);
    const int minute = number(14, 2);
    const int second = number(17, 2);
    if (!day.ok() || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    const auto moment = Seconds(chrono::sys_days(day)) + chrono::hours(hour) + chrono::minutes(minute) +
                        chrono::seconds(second);
    return QDateTime::fromSecsSinceEpoch(moment.time_since_epoch().count(), Qt::UTC);
}

std::optional<QUuid> decodeId(std::string_view text) {
    if (!matches(text, idPattern))
        return std::nullopt;
    return QUuid::fromString(QLatin1StringView(text.data(), static_cast<qsizetype>(text.size())));
}

// The text without its quotes. What has no escapes needs no unescaping: it is taken from the document as it
// stands. The parser has checked the whole document's UTF-8 beforehand.
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

// Goes through a value nobody asked for: the parser checks only what is read.
bool isValid(json::value value, int depth = 0) {
    constexpr int maximumDepth = 512;
    if (depth > maximumDepth)
        return false;
    json::json_type type{};
    if (value.type().get(type) != simdjson::SUCCESS)
        return false;
    switch (type) {
    case json::json_type::array:
        for (auto element : value.get_array()) {
            json::value inner;
            if (std::move(element).get(inner) != simdjson::SUCCESS || !isValid(inner, depth + 1))
                return false;
        }
        return true;
    case json::json_type::object:
        for (auto field : value.get_object()) {
            json::value inner;
            if (field.unescaped_key().error() != simdjson::SUCCESS ||
                field.value().get(inner) != simdjson::SUCCESS || !isValid(inner, depth + 1))
                return false;
        }
        return true;
    case json::json_type::number:
        return value.get_double().error() == simdjson::SUCCESS;
    case json::json_type::string:
        return value.get_string().error() == simdjson::SUCCESS;
    case json::json_type::boolean:
        return value.get_bool().error() == simdjson::SUCCESS;
    case json::json_type::null:
        return value.is_null();
    }
    return false;
}

enum Member : unsigned { hasDate = 1, hasDuration = 2, hasId = 4, hasText = 8, hasAll = 15 };

bool decodeMember(std::string_view name, json::value value, Transcription& record, unsigned& seen) {
    if (name == "duration") {
        seen |= hasDuration;
        return value.get_double().get(record.duration) == simdjson::SUCCESS;
    }
    if (name == "date") {
        seen |= hasDate;
        const auto decoded = decodeString(value).and_then(decodeDate);
        record.date = decoded.value_or(QDateTime());
        return decoded.has_value();
    }
    if (name == "id") {
        seen |= hasId;
        const auto decoded = decodeString(value).and_then(decodeId);
        record.id = decoded.value_or(QUuid());
        return decoded.has_value();
    }
    if (name == "text") {
        seen |= hasText;
        const auto decoded = decodeString(value);
        if (decoded)
            record.text = QByteArray(decoded->data(), static_cast<qsizetype>(decoded->size()));
        return decoded.has_value();
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

// The document is made in pieces that stay in the processor's cache, so that each is written while the next
// is made.
class Encoder {
public:
    explicit Encoder(const std::function<void(QByteArrayView)>& sink) : m_sink(sink) {
        m_buffer.reserve(pieceSize + 4096);
    }

    void add(std::string_view bytes) {
        m_buffer.append(bytes);
        if (m_buffer.size() >= pieceSize)
            flush();
    }

    void addRecord(const Transcription& record) {
        std::array<char, 256> head;
        char* end = head.data();
        end = put(end, "  {\n    \"date\": \"");
        end = putDate(end, record.date);
        end = put(end, "\",\n    \"duration\": ");
        end = std::to_chars(end, head.data() + head.size(),
                            std::isfinite(record.duration) ? record.duration : 0.0)
                  .ptr;
        end = put(end, ",\n    \"id\": \"");
        end = putId(end, record.id);
        end = put(end, "\",\n    \"text\": \"");
        add({head.data(), end});
        addEscaped({record.text.constData(), static_cast<size_t>(record.text.size())});
        add("\"\n  }");
    }

    void flush() {
        m_sink(QByteArrayView(m_buffer.data(), static_cast<qsizetype>(m_buffer.size())));
        m_buffer.clear();
    }

private:
    static constexpr size_t pieceSize = size_t{128} * 1024;
    static constexpr std::string_view hexDigits = "0123456789ABCDEF";

    static char* put(char* at, std::string_view bytes) { return std::ranges::copy(bytes, at).out; }

    static char* putNumber(char* at, unsigned value, int digits) {
        for (int i = digits - 1; i >= 0; --i, value /= 10)
            at[i] = static_cast<char>('0' + value % 10);
        return at + digits;
    }

    static char* putHex(char* at, unsigned value, int digits) {
        for (int i = digits - 1; i >= 0; --i, value >>= 4)
            at[i] = hexDigits[value & 15];
        return at + digits;
    }

    static char* putDate(char* at, const QDateTime& date) {
        using namespace std::chrono;
        constexpr Seconds earliest = sys_days(year(0) / January / 1);
        constexpr Seconds latest = sys_days(year(10000) / January / 1) - seconds(1);
        const Seconds moment = std::clamp(
            floor<seconds>(sys_time<milliseconds>(milliseconds(date.toMSecsSinceEpoch()))), earliest, latest);
        const auto midnight = floor<days>(moment);
        const year_month_day day(midnight);
        const hh_mm_ss time(moment - midnight);
        at = putNumber(at, static_cast<unsigned>(int(day.year())), 4);
        *at++ = '-';
        at = putNumber(at, unsigned(day.month()), 2);
        *at++ = '-';
        at = putNumber(at, unsigned(day.day()), 2);
        *at++ = 'T';
        at = putNumber(at, static_cast<unsigned>(time.hours().count()), 2);
        *at++ = ':';
        at = putNumber(at, static_cast<unsigned>(time.minutes().count()), 2);
        *at++ = ':';
        at = putNumber(at, static_cast<unsigned>(time.seconds().count()), 2);
        *at++ = 'Z';
        return at;
    }

    static char* putId(char* at, const QUuid& id) {
        at = putHex(at, id.data1, 8);
        *at++ = '-';
        at = putHex(at, id.data2, 4);
        *at++ = '-';
        at = putHex(at, id.data3, 4);
        for (int i = 0; i < 8; ++i) {
            if (i == 0 || i == 2)
                *at++ = '-';
            at = putHex(at, id.data4[i], 2);
        }
        return at;
    }

    static bool needsEscape(char c) { return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\'; }

    void addEscaped(std::string_view bytes) {
        while (!bytes.empty()) {
            const auto plain = static_cast<size_t>(std::ranges::find_if(bytes, needsEscape) - bytes.begin());
            add(bytes.substr(0, plain));
            if (plain == bytes.size())
                return;
            addEscape(bytes[plain]);
            bytes.remove_prefix(plain + 1);
        }
    }

    void addEscape(char c) {
        switch (c) {
        case '"':
            add("\\\"");
            break;
        case '\\':
            return add("\\\\");
        case '\n':
            return add("\\n");
        case '\t':
            return add("\\t");
        case '\r':
            return add("\\r");
        default:
            const std::array escape{'\\', 'u', '0', '0', hexDigits[c >> 4], hexDigits[c & 15]};
            return add({escape.data(), escape.size()});
        }
    }

    const std::function<void(QByteArrayView)>& m_sink;
    std::string m_buffer;
};

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
    // Past the last byte the parser has no location to tell: anything else means that something follows the
    // array.
    if (document.current_location().error() != simdjson::OUT_OF_BOUNDS)
        return std::nullopt;
    return records;
}

void encodeHistory(const QList<Transcription>& records, const std::function<void(QByteArrayView)>& sink) {
    Encoder encoder(sink);
    encoder.add("[");
    std::string_view separator = "\n";
    for (const auto& record : records) {
        encoder.add(separator);
        encoder.addRecord(record);
        separator = ",\n";
    }
    encoder.add(records.isEmpty() ? "]\n" : "\n]\n");
    encoder.flush();
}

} // namespace tavrik
