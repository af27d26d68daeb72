#include "history/HistoryFile.h"
#include "history/HistoryTestData.h"
#include "history/WordCount.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>
#include <QTimeZone>

#include <cmath>
#include <limits>

using namespace tavrik;
using namespace tavrik::test;

namespace {

Transcription record(const QByteArray& text) {
    return {QUuid::fromString(QStringLiteral("1B4E28BA-2FA1-11D2-883F-0016D3CCA427")),
            QDateTime(QDate(2025, 3, 1), QTime(14, 5, 9), QTimeZone::utc()), text, 2.5};
}

// A whole history around one record with the given members.
QByteArray historyWith(const QByteArray& members) {
    return R"([{"date":"2025-03-01T14:05:09Z","duration":1,"id":"1B4E28BA-2FA1-11D2-883F-0016D3CCA428","text":"a"},{)" +
           members + R"(},{"text":"c","id":"1b4e28ba-2fa1-11d2-883f-0016d3cca429","duration":0.25,)" +
           R"("date":"2025-02-28T23:59:59Z"}])";
}

} // namespace

class TestHistoryFile : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesTheFormat() {
        auto dictation = record("one \"two\"\\ three\n\x01 für");
        dictation.date = dictation.date.addMSecs(750);
        QCOMPARE(document({dictation}),
                 QByteArray("[\n"
                            "  {\n"
                            "    \"date\": \"2025-03-01T14:05:09Z\",\n"
                            "    \"duration\": 2.5,\n"
                            "    \"id\": \"1B4E28BA-2FA1-11D2-883F-0016D3CCA427\",\n"
                            "    \"text\": \"one \\\"two\\\"\\\\ three\\n\\u0001 für\"\n"
                            "  }\n"
                            "]\n"));
        QCOMPARE(document({}), QByteArray("[]\n"));
    }

    void textsAreReadAgain() {
        QByteArray everyAscii;
        for (char c = 0; c < 127; ++c)
            everyAscii.append(c);
        for (const auto& text : {everyAscii, QByteArray(), QByteArray("سلام\u200cها 😀 ſ\u2028"),
                                 QByteArray("äbc\"\t").repeated(200'000)}) {
            const QList records{record(text), record("after")};
            QCOMPARE(decodeHistory(document(records)), records);
            // Another reader of JSON agrees.
            const auto first = QJsonDocument::fromJson(document(records)).array().at(0);
            QCOMPARE(first["text"].toString().toUtf8(), text);
        }
    }

    void datesAreWholeSecondsOfUtc() {
        const std::pair<QDateTime, QDateTime> rows[]{
            {QDateTime::fromMSecsSinceEpoch(999, QTimeZone::utc()),
             QDateTime::fromSecsSinceEpoch(0, QTimeZone::utc())},
            {QDateTime::fromMSecsSinceEpoch(-1, QTimeZone::utc()),
             QDateTime::fromSecsSinceEpoch(-1, QTimeZone::utc())},
            {QDateTime(QDate(2025, 1, 1), QTime(1, 0), QTimeZone(12'600)),
             QDateTime(QDate(2024, 12, 31), QTime(21, 30), QTimeZone::utc())},
            {QDateTime(QDate(12000, 1, 1), QTime(), QTimeZone::utc()),
             QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59), QTimeZone::utc())}};
        for (const auto& [written, read] : rows) {
            const auto records = decodeHistory(document({dictation("", written)}));
            QVERIFY(records);
            QCOMPARE(records->first().date, read);
        }
    }

    void durationsAreReadAgain() {
        using Limits = std::numeric_limits<double>;
        for (const double duration : {0.1 + 0.2, Limits::max(), -Limits::denorm_min(), Limits::quiet_NaN()}) {
            const auto records = decodeHistory(document({dictation("", QDateTime(), duration)}));
            QVERIFY(records);
            QCOMPARE(records->first().duration, std::isfinite(duration) ? duration : 0);
        }
    }

    void readsAnyGoodRecord() {
        const QByteArray date = R"("date":"2025-03-01T14:05:09Z",)";
        const QByteArray duration = R"("duration":2.5,)";
        const QByteArray id = R"("id":"1b4e28ba-2fa1-11d2-883f-0016d3cca427",)";
        const std::pair<QByteArray, QByteArray> rows[]{
            {id + duration + date + R"("text":"b")", "b"},
            {date + duration + id + R"("te\u0078t":"b")", "b"},
            {R"("text":"a",)" + date + duration + id + R"("text":"b")", "b"},
            {R"("x":{"date":[1,"2",null,{"a":{}}],"y":true},"":"",)" + date + duration + id +
                 R"("text":"b","z":[])",
             "b"},
            {date + duration + id + "\"text\" : \"\\ud83d\\uDE00\\u0001\\/\\\"\" ", "😀\u0001/\""}};
        for (const auto& [members, text] : rows) {
            const auto records = decodeHistory(historyWith(members)).value_or(QList<Transcription>());
            QCOMPARE(records.size(), 3);
            QCOMPARE(records.at(1), record(text));
            QCOMPARE(records.at(2).text, QByteArray("c"));
        }
    }

    void refusesAllForOneBadRecord_data() {
        QTest::addColumn<QByteArray>("members");
        const QByteArray good =
            R"("date":"2025-03-01T14:05:09Z","duration":2.5,"id":"1B4E28BA-2FA1-11D2-883F-0016D3CCA427","text":"b")";
        const auto row = [&good](const char* name, const QByteArray& part, const QByteArray& replacement) {
            auto members = good;
            QVERIFY2(members.contains(part), name);
            QTest::addRow("%s", name) << members.replace(part, replacement);
        };
        row("no date", R"("date":"2025-03-01T14:05:09Z",)", "");
        row("no duration", R"("duration":2.5,)", "");
        row("no id", R"("id":"1B4E28BA-2FA1-11D2-883F-0016D3CCA427",)", "");
        row("no text", R"(,"text":"b")", "");
        row("name in another case", "text", "Text");
        row("date: number", R"("2025-03-01T14:05:09Z")", "1740837909");
        row("date: fraction", "09Z", "09.5Z");
        row("date: lower-case zone", "09Z", "09z");
        row("date: blank for T", "T14", " 14");
        row("date: no leap year", "03-01", "02-29");
        row("date: hour 24", "T14:05:09", "T24:00:00");
        row("date: minute 60", "05:09", "60:09");
        row("date: second 60", "05:09", "05:60");
        row("date: sign", "2025", "+025");
        row("duration: text", "2.5", R"("2.5")");
        row("id: too short", "427", "42");
        row("id: no hexadecimal digit", "427", "42G");
        row("id: hyphen elsewhere", "1B4E28BA-2FA1", "1B4E28B-A2FA1");
        row("text: null", "\"b\"", "null");
        row("text: unknown escape", "\"b\"", R"("\x")");
        row("text: raw control character", "\"b\"", "\"\n\"");
        row("text: overlong UTF-8", "\"b\"", "\"\xc0\xaf\"");
        row("missing comma", ",\"text\"", " \"text\"");
        row("unknown member: bad value", R"("text")", R"("x":tru,"text")");
        row("unknown member: almost null", R"("text")", R"("x":nul,"text")");
        row("unknown member: bad number deep inside", R"("text")", R"("x":[{"y":[1,-]}],"text")");
        row("unknown member: bad escape", R"("text")", R"("x":"\q","text")");
        row("unknown member: bad name", R"("text")", R"("\q":1,"text")");
    }
    void refusesAllForOneBadRecord() {
        QFETCH(QByteArray, members);
        QVERIFY(!decodeHistory(historyWith(members)));
    }

    void refusesBadDocuments() {
        const auto good = document({record("a"), record("b")});
        QVERIFY(decodeHistory(good));
        for (qsizetype size = 0; size < good.size() - 2; ++size)
            QVERIFY2(!decodeHistory(good.first(size)), good.first(size).constData());
        for (const auto& bad :
             {good + "x", good + "[]", good + QByteArray(1, '\0'), QByteArray(R"({"items":[]})"),
              QByteArray("[[]]"), good.chopped(2) + ",null]", good.chopped(2) + ",]",
              good.chopped(4) + R"(,"x":)" + QByteArray(100'000, '[') + QByteArray(100'000, ']') + "}]"})
            QVERIFY2(!decodeHistory(bad), bad.constData());
    }

    void countsWords() {
        const std::pair<QByteArray, qsizetype> rows[]{{"", 0},
                                                      {"  one  two\nthree ", 3},
                                                      {"سلام دنیا\u2003für\u0085Straße", 4},
                                                      {"😀 😀😀", 2},
                                                      {"\xff \xe2\x80", 2}};
        for (const auto& [text, words] : rows) {
            // At every distance from the start, since whole blocks of ASCII are counted at once.
            for (int before = 0; before < 10; ++before)
                QCOMPARE(wordCount(QByteArray(before, ' ') + text), words);
        }
    }

    // Every character of Unicode between two words.
    void knowsEveryWhiteSpace() {
        QList<char32_t> separators;
        for (char32_t c = 0; c <= 0x10ffff; ++c) {
            const bool isSurrogate = c >= 0xd800 && c <= 0xdfff;
            if (!isSurrogate && wordCount("abcd" + QString::fromUcs4(&c, 1).toUtf8() + "efgh") == 2)
                separators.append(c);
        }
        QCOMPARE(separators,
                 (QList<char32_t>{0x9,    0xa,    0xb,    0xc,    0xd,    0x20,   0x85,   0xa0,   0x1680,
                                  0x2000, 0x2001, 0x2002, 0x2003, 0x2004, 0x2005, 0x2006, 0x2007, 0x2008,
                                  0x2009, 0x200a, 0x2028, 0x2029, 0x202f, 0x205f, 0x3000}));
    }
};

QTEST_GUILESS_MAIN(TestHistoryFile)
#include "tst_historyfile.moc"
