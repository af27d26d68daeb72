#include "history/HistoryFile.h"

#include "history/ByteBlock.h"

// What could throw does not compile.
#define SIMDJSON_EXCEPTIONS 0
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

// Reads digits at fixed places of a text, and remembers whether all of it was as expected.
class FixedFields {
public:
    explicit FixedFields(std::string_view text) : m_text(text) {}

    unsigned number(int digits) { return read(digits, 10); }
    unsigned hex(int digits) { return read(digits, 16); }
    void expect(char c) { m_good &= m_text[m_at++] == c; }
    bool good() const { return m_good; }

private:
    static constexpr auto digitValues = [] {
        std::array<unsigned char, 256> values{};
        values.fill(255);
        for (unsigned char i = 0; i < 10; ++i)
            values['0' + i] = i;
        for (unsigned char i = 0; i < 6; ++i)
            values['a' + i] = values['A' + i] = 10 + i;
        return values;
    }();

    unsigned read(int digits, unsigned base) {
        unsigned value = 0;
        for (; digits > 0; --digits) {
            const unsigned digit = digitValues[static_cast<unsigned char>(m_text[m_at++])];
            m_good &= digit < base;
            value = value * base + digit;
        }
        return value;
    }

    std::string_view m_text;
    size_t m_at = 0;
    bool m_good = true;
};

// yyyy-MM-ddTHH:mm:ssZ
std::optional<QDateTime> decodeDate(std::string_view text) {
    if (text.size() != 20)
        return std::nullopt;
    FixedFields fields(text);
    const auto year = static_cast<int>(fields.number(4));
    fields.expect('-');
    const auto month = fields.number(2);
    fields.expect('-');
    const auto dayOfMonth = fields.number(2);
    fields.expect('T');
    const auto hour = fields.number(2);
    fields.expect(':');
    const auto minute = fields.number(2);
    fields.expect(':');
    const auto second = fields.number(2);
    fields.expect('Z');
    const chrono::year_month_day day{chrono::year(year), chrono::month(month), chrono::day(dayOfMonth)};
    if (!fields.good() || !day.ok() || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    const auto moment = Seconds(chrono::sys_days(day)) + chrono::hours(hour) + chrono::minutes(minute) +
                        chrono::seconds(second);
    static const auto epoch = QDateTime::fromSecsSinceEpoch(0).toUTC();
    return epoch.addSecs(moment.time_since_epoch().count());
}

std::optional<QUuid> decodeId(std::string_view text) {
    if (text.size() != 36)
        return std::nullopt;
    FixedFields fields(text);
    QUuid id;
    id.data1 = fields.hex(8);
    fields.expect('-');
    id.data2 = static_cast<ushort>(fields.hex(4));
    fields.expect('-');
    id.data3 = static_cast<ushort>(fields.hex(4));
    for (int i = 0; i < 8; ++i) {
        if (i == 0 || i == 2)
            fields.expect('-');
        id.data4[i] = static_cast<uchar>(fields.hex(2));
    }
    return fields.good() ? std::optional(id) : std::nullopt;
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
    case json::json_type::null: {
        bool isNull = false;
        return value.is_null().get(isNull) == simdjson::SUCCESS && isNull;
    }
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

    // The size is known when this is compiled: a few stores instead of a call.
    template<size_t size>
    static char* put(char* at, const char (&literal)[size]) {
        std::memcpy(at, literal, size - 1);
        return at + size - 1;
    }

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

    // Whether any byte of the block does.
    static bool needsEscape(ByteBlock block) {
        const auto anyBelow = [](ByteBlock bytes, unsigned char limit) {
            return (bytes - everyByte(limit)) & ~bytes & everyByte(0x80);
        };
        return (anyBelow(block, 0x20) | anyBelow(block ^ everyByte('"'), 1) |
                anyBelow(block ^ everyByte('\\'), 1)) != 0;
    }

    static size_t plainBytes(std::string_view bytes) {
        size_t plain = 0;
        while (bytes.size() - plain >= byteBlockSize && !needsEscape(blockAt(bytes.data() + plain)))
            plain += byteBlockSize;
        while (plain < bytes.size() && !needsEscape(bytes[plain]))
            ++plain;
        return plain;
    }

    void addEscaped(std::string_view bytes) {
        while (!bytes.empty()) {
            const auto plain = plainBytes(bytes);
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
