#include "history/HistoryDecoder.h"
#include "history/HistoryTestData.h"
#include "history/WordCount.h"

#include <QTest>
#include <QTimeZone>

#include <cmath>
#include <limits>

using namespace tavrik;
using namespace tavrik::test;
using namespace std::chrono_literals;

namespace {

Transcription record(const QByteArray& text) {
    return {QUuid::fromString(QStringLiteral("1B4E28BA-2FA1-11D2-883F-0016D3CCA427")),
            toTimestamp(QDateTime(QDate(2025, 3, 1), QTime(14, 5, 9), QTimeZone::utc())), text, 2.5};
}

// A whole history that begins with a record of the given members.
QByteArray historyWith(const QByteArray& members) {
    return "[{" + members + "}," + encodeHistory({record("after")}).mid(1);
}

} // namespace

class TestHistoryFile : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesTheFormat() {
        auto dictation = record("one \"two\"\\ three\n\x01 für");
        dictation.date += 750ms;
        QCOMPARE(encodeHistory({dictation}),
                 QByteArray("[\n"
                            "  {\n"
                            "    \"date\": \"2025-03-01T14:05:09Z\",\n"
                            "    \"duration\": 2.5,\n"
                            "    \"id\": \"1B4E28BA-2FA1-11D2-883F-0016D3CCA427\",\n"
                            "    \"text\": \"one \\\"two\\\"\\\\ three\\n\\u0001 für\"\n"
                            "  }\n"
                            "]\n"));
        QCOMPARE(encodeHistory({}), "[]\n");
    }

    void textsAreReadAgain() {
        QByteArray everyAscii;
        for (char c = 0; c < 127; ++c)
            everyAscii.append(c);
        for (const auto& text : {everyAscii, QByteArray(), QByteArray("سلام\u200cها 😀 ſ\u2028"),
                                 QByteArray("äbc\"\t").repeated(200'000)}) {
            const QList records{record(text), record("after")};
            QCOMPARE(decodeHistory(encodeHistory(records)), records);
        }
    }

    void datesAndDurationsAreReadAgain() {
        using Limits = std::numeric_limits<double>;
        const Timestamp epoch;
        const auto leapDay = std::chrono::sys_days(2024y / 2 / 29) + 23h + 59min + 59s;
        const std::tuple<Timestamp, Timestamp, double> rows[]{{epoch + 999ms, epoch, 0.1 + 0.2},
                                                              {epoch - 1ms, epoch - 1s, Limits::max()},
                                                              {leapDay, leapDay, -Limits::denorm_min()},
                                                              {std::chrono::sys_days(12000y / 1 / 1),
                                                               std::chrono::sys_days(10000y / 1 / 1) - 1s,
                                                               Limits::quiet_NaN()}};
        for (const auto& [written, read, duration] : rows) {
            const QList expected{Transcription{{}, read, "", std::isfinite(duration) ? duration : 0}};
            QCOMPARE(decodeHistory(encodeHistory({{{}, written, "", duration}})), expected);
        }
    }

    void oneBadRecordSpoilsAll() {
        // Part of a good record, its replacement, and the text then read; none if the record is bad.
        const std::tuple<QByteArray, QByteArray, QByteArray> rows[]{
            {"1B4E28BA-2FA1", "1b4e28ba-2fa1", "b"},
            {R"("text")", R"("te\u0078t")", "b"},
            {R"("date")", R"("text":"a","date")", "b"},
            {R"("text")", R"("x":{"date":[1,"2",null,{"a":{}}],"y":true},"":"","text")", "b"},
            {R"(:"b")", " : \"\\ud83d\\uDE00\\u0001\\/\\\"\" ", "😀\u0001/\""},
            {"2.5", "0.25000000000000000000000e1", "b"},
            {R"("date":"2025-03-01T14:05:09Z",)", "", {}},
            {R"(,"text":"b")", "", {}},
            {"09Z", "09Zx", {}},
            {"03-01", "02-29", {}},
            {"05:09", "05:60", {}},
            {"03-01T14", "-3-01T-4", {}},
            {"427", "42", {}},
            {"427", "42G", {}},
            {R"("b")", "null", {}},
            {R"("b")", R"("\x")", {}},
            {R"("b")", "\"\n\"", {}},
            {R"("b")", "\"\xc0\xaf\"", {}},
            {R"("text")", R"("x":[{"y":[1,-]}],"text")", {}},
            {R"("text")", R"("x":"y":[1],"text")", {}}};
        const QByteArray good =
            R"("date":"2025-03-01T14:05:09Z","duration":2.5,"id":"1B4E28BA-2FA1-11D2-883F-0016D3CCA427","text":"b")";
        for (const auto& [part, replacement, text] : rows) {
            const auto members = QByteArray(good).replace(part, replacement);
            const auto records = decodeHistory(historyWith(members)).value_or(QList<Transcription>());
            const auto expected =
                text.isNull() ? QList<Transcription>() : QList{record(text), record("after")};
            QVERIFY2(members != good && records == expected, members.constData());
        }
    }

    void refusesBadDocuments() {
        const auto good = encodeHistory({record("a"), record("b")});
        QVERIFY(decodeHistory(good));
        for (qsizetype size = 0; size < good.size() - 2; ++size)
            QVERIFY2(!decodeHistory(good.first(size)), good.first(size).constData());
        for (const auto& bad :
             {good + "[]", good + QByteArray(1, '\0'), QByteArray(R"({"items":[]})"),
              good.chopped(2) + ",null]", good.chopped(2) + ",]",
              good.chopped(4) + R"(,"x":)" + QByteArray(100'000, '[') + QByteArray(100'000, ']') + "}]"})
            QVERIFY2(!decodeHistory(bad), bad.constData());
    }

    void countsWords() {
        const std::pair<QByteArray, qsizetype> rows[]{{" \t", 0},
                                                      {"  one  two\nthree ", 3},
                                                      {"سلام دنیا\u2003für\u0085Straße\u00a0a\u3000b", 6},
                                                      {"می\u200cخواهم \U0001f600", 2},
                                                      {"\xff \xe2\x80", 2}};
        for (const auto& [text, words] : rows)
            QCOMPARE(wordCount(text), words);
    }
};

QTEST_GUILESS_MAIN(TestHistoryFile)
#include "tst_historyfile.moc"
