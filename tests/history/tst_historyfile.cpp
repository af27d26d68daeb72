#include "history/HistoryDecoder.h"
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
        QCOMPARE(encodeHistory({dictation}),
                 QByteArray("[\n"
                            "  {\n"
                            "    \"date\": \"2025-03-01T14:05:09Z\",\n"
                            "    \"duration\": 2.5,\n"
                            "    \"id\": \"1B4E28BA-2FA1-11D2-883F-0016D3CCA427\",\n"
                            "    \"text\": \"one \\\"two\\\"\\\\ three\\n\\u0001 für\"\n"
                            "  }\n"
                            "]\n"));
        QCOMPARE(encodeHistory({}), QByteArray("[]\n"));
    }

    void textsAreReadAgain() {
        QByteArray everyAscii;
        for (char c = 0; c < 127; ++c)
            everyAscii.append(c);
        for (const auto& text : {everyAscii, QByteArray(), QByteArray("سلام\u200cها 😀 ſ\u2028"),
                                 QByteArray("äbc\"\t").repeated(200'000)}) {
            const QList records{record(text), record("after")};
            QCOMPARE(decodeHistory(encodeHistory(records)), records);
            // Another JSON reader agrees.
            const auto first = QJsonDocument::fromJson(encodeHistory(records)).array().at(0);
            QCOMPARE(first["text"].toString().toUtf8(), text);
        }
    }

    void datesAndDurationsAreReadAgain() {
        using Limits = std::numeric_limits<double>;
        const QDateTime epoch = QDateTime::fromSecsSinceEpoch(0, QTimeZone::utc());
        const std::tuple<QDateTime, QDateTime, double> rows[]{
            {epoch.addMSecs(999), epoch, 0.1 + 0.2},
            {epoch.addMSecs(-1), epoch.addSecs(-1), Limits::max()},
            {QDateTime(), epoch, -Limits::denorm_min()},
            {QDateTime(QDate(2025, 1, 1), QTime(1, 0), QTimeZone(12'600)),
             QDateTime(QDate(2024, 12, 31), QTime(21, 30), QTimeZone::utc()), Limits::quiet_NaN()},
            {QDateTime(QDate(12000, 1, 1), QTime(), QTimeZone::utc()),
             QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59), QTimeZone::utc()), 0}};
        for (const auto& [written, read, duration] : rows) {
            const auto records = decodeHistory(encodeHistory({{{}, written, "", duration}}));
            QVERIFY(records);
            QCOMPARE(records->first(), (Transcription{{}, read, "", std::isfinite(duration) ? duration : 0}));
        }
    }

    void readsAnyGoodRecord() {
        const QByteArray date = R"("date":"2025-03-01T14:05:09Z",)";
        const QByteArray duration = R"("duration":2.5,)";
        const QByteArray id = R"("id":"1b4e28ba-2fa1-11d2-883f-0016d3cca427",)";
        const std::pair<QByteArray, QByteArray> rows[]{
            {id + duration + date + R"("te\u0078t":"b")", "b"},
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

    void refusesAllForOneBadRecord() {
        const QByteArray good =
            R"("date":"2025-03-01T14:05:09Z","duration":2.5,"id":"1B4E28BA-2FA1-11D2-883F-0016D3CCA427","text":"b")";
        const std::pair<const char*, const char*> replacements[]{
            {R"("date":"2025-03-01T14:05:09Z",)", ""},
            {R"("duration":2.5,)", ""},
            {R"("id":"1B4E28BA-2FA1-11D2-883F-0016D3CCA427",)", ""},
            {R"(,"text":"b")", ""},
            {R"("2025-03-01T14:05:09Z")", "1740837909"},
            {"09Z", "09.5Z"},
            {"T14", " 14"},
            {"03-01", "02-29"},
            {"05:09", "05:60"},
            {"03-01T14", "-3-01T-4"},
            {"2.5", R"("2.5")"},
            {"427", "42"},
            {"427", "42G"},
            {"1B4E28BA-2FA1", "1B4E28B-A2FA1"},
            {R"("b")", "null"},
            {R"("b")", R"("\x")"},
            {R"("b")", "\"\n\""},
            {R"("b")", "\"\xc0\xaf\""},
            {R"(,"text")", R"( "text")"},
            {R"("text")", R"("x":nul,"text")"},
            {R"("text")", R"("x":[{"y":[1,-]}],"text")"},
            {R"("text")", R"("\q":1,"text")"}};
        QVERIFY(decodeHistory(historyWith(good)));
        for (const auto& [part, replacement] : replacements) {
            const auto bad = QByteArray(good).replace(part, replacement);
            QVERIFY2(bad != good && !decodeHistory(historyWith(bad)), bad.constData());
        }
    }

    void refusesBadDocuments() {
        const auto good = encodeHistory({record("a"), record("b")});
        QVERIFY(decodeHistory(good));
        for (qsizetype size = 0; size < good.size() - 2; ++size)
            QVERIFY2(!decodeHistory(good.first(size)), good.first(size).constData());
        for (const auto& bad :
             {good + "x", good + "[]", good + QByteArray(1, '\0'), QByteArray(R"({"items":[]})"),
              good.chopped(2) + ",null]", good.chopped(2) + ",]",
              good.chopped(4) + R"(,"x":)" + QByteArray(100'000, '[') + QByteArray(100'000, ']') + "}]"})
            QVERIFY2(!decodeHistory(bad), bad.constData());
    }

    void countsWords() {
        const std::pair<QByteArray, qsizetype> rows[]{{"", 0},
                                                      {" \t", 0},
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
