#include "storage/HistoryFile.h"
#include "storage/WordCount.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QTimeZone>

#include <limits>

using namespace tavrik;

namespace {

const auto id = QStringLiteral("1B4E28BA-2FA1-11D2-883F-0016D3CCA427");

QByteArray encoded(const QList<Transcription>& records) {
    QByteArray document;
    encodeHistory(records, [&document](QByteArrayView piece) { document.append(piece); });
    return document;
}

Transcription record(const QByteArray& text) {
    return {QUuid::fromString(id), QDateTime(QDate(2025, 3, 1), QTime(14, 5, 9), Qt::UTC), text, 2.5};
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
        QCOMPARE(encoded({dictation}),
                 QByteArray("[\n"
                            "  {\n"
                            "    \"date\": \"2025-03-01T14:05:09Z\",\n"
                            "    \"duration\": 2.5,\n"
                            "    \"id\": \"1B4E28BA-2FA1-11D2-883F-0016D3CCA427\",\n"
                            "    \"text\": \"one \\\"two\\\"\\\\ three\\n\\u0001 für\"\n"
                            "  }\n"
                            "]\n"));
        QCOMPARE(encoded({}), QByteArray("[]\n"));
    }

    void roundTrips_data() {
        QTest::addColumn<Transcription>("written");
        QTest::addColumn<Transcription>("read");
        const auto row = [](const char* name, const auto& change, const auto& expectation) {
            auto written = record("text");
            change(written);
            auto read = written;
            expectation(read);
            QTest::addRow("%s", name) << written << read;
        };
        const auto same = [](Transcription&) {
        };
        row("plain", same, same);
        row("empty text", [](auto& r) { r.text = ""; }, same);
        QByteArray everyAscii;
        for (char c = 0; c < 127; ++c)
            everyAscii.append(c);
        row("every ASCII character", [&](auto& r) { r.text = everyAscii; }, same);
        row("other scripts", [](auto& r) { r.text = "سلام\u200cها 😀 ſ\u2028"; }, same);
        row(
            "longer than any buffer", [](auto& r) { r.text = QByteArray("äbc\"\t").repeated(200'000); },
            same);
        row("no id", [](auto& r) { r.id = QUuid(); }, same);
        row(
            "fraction of a second", [](auto& r) { r.date = r.date.addMSecs(999); },
            [](auto& r) { r.date = r.date.addMSecs(-999); });
        row(
            "fraction before 1970", [](auto& r) { r.date = QDateTime::fromMSecsSinceEpoch(-1, Qt::UTC); },
            [](auto& r) { r.date = QDateTime::fromMSecsSinceEpoch(-1000, Qt::UTC); });
        row(
            "another zone",
            [](auto& r) { r.date = QDateTime(QDate(2025, 1, 1), QTime(1, 0), QTimeZone(12'600)); },
            [](auto& r) { r.date = QDateTime(QDate(2024, 12, 31), QTime(21, 30), Qt::UTC); });
        row(
            "leap day", [](auto& r) { r.date = QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59), Qt::UTC); },
            same);
        row(
            "beyond year 9999", [](auto& r) { r.date = QDateTime(QDate(12000, 1, 1), QTime(), Qt::UTC); },
            [](auto& r) { r.date = QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59), Qt::UTC); });
        row("shortest digits", [](auto& r) { r.duration = 0.1 + 0.2; }, same);
        row("huge duration", [](auto& r) { r.duration = std::numeric_limits<double>::max(); }, same);
        row("tiny duration", [](auto& r) { r.duration = -5e-324; }, same);
        row(
            "no number", [](auto& r) { r.duration = std::numeric_limits<double>::quiet_NaN(); },
            [](auto& r) { r.duration = 0; });
    }
    void roundTrips() {
        QFETCH(Transcription, written);
        QFETCH(Transcription, read);
        const auto document = encoded({written, record("after")});
        QCOMPARE(decodeHistory(document), (QList{read, record("after")}));
        // Another reader of JSON agrees.
        const auto object = QJsonDocument::fromJson(document).array().at(0).toObject();
        QCOMPARE(object.value("text").toString().toUtf8(), read.text);
        QCOMPARE(object.value("duration").toDouble(), read.duration);
        QCOMPARE(object.value("id").toString(), read.id.toString(QUuid::WithoutBraces).toUpper());
        QCOMPARE(object.value("date").toString(), read.date.toString(Qt::ISODate));
    }

    void readsAnyGoodRecord_data() {
        QTest::addColumn<QByteArray>("members");
        QTest::addColumn<Transcription>("expected");
        auto expected = record("b");
        const QByteArray date = R"("date":"2025-03-01T14:05:09Z")";
        const QByteArray duration = R"("duration":2.5)";
        const QByteArray uuid = R"("id":"1B4E28BA-2FA1-11D2-883F-0016D3CCA427")";
        const QByteArray text = R"("text":"b")";
        const auto join = [](const QByteArrayList& members) {
            return members.join(',');
        };
        QTest::newRow("another order") << join({text, uuid, duration, date}) << expected;
        QTest::newRow("lower-case id") << join({date, duration, uuid.toLower(), text}) << expected;
        QTest::newRow("escaped name") << join({date, duration, uuid, R"("te\u0078t":"b")"}) << expected;
        QTest::newRow("escaped text") << join({date, duration, uuid, R"("text":"\u0062")"}) << expected;
        QTest::newRow("member twice") << join({R"("text":"a")", date, duration, uuid, text}) << expected;
        QTest::newRow("unknown members") << join({R"("x":{"date":[1,"2",null,{"a":{}}],"y":true})", date,
                                                  R"("":"")", duration, uuid, text, R"("z":[])"})
                                         << expected;
        expected.text = "😀\u0001/\"";
        QTest::newRow("surrogates and escapes")
            << join({date, duration, uuid, "\"text\" : \"\\ud83d\\uDE00\\u0001\\/\\\"\" "}) << expected;
    }
    void readsAnyGoodRecord() {
        QFETCH(QByteArray, members);
        QFETCH(Transcription, expected);
        const auto records = decodeHistory(historyWith(members)).value_or(QList<Transcription>());
        QCOMPARE(records.size(), 3);
        QCOMPARE(records.at(1), expected);
        QCOMPARE(records.at(2).text, QByteArray("c"));
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
        row("nothing", good, "");
        row("name in another case", "text", "Text");
        row("date: number", R"("2025-03-01T14:05:09Z")", "1740837909");
        row("date: fraction", "09Z", "09.5Z");
        row("date: no zone", "09Z", "09");
        row("date: lower-case zone", "09Z", "09z");
        row("date: offset", "09Z", "09+00:00");
        row("date: blank for T", "T14", " 14");
        row("date: day of another month", "03-01", "02-30");
        row("date: no leap year", "03-01", "02-29");
        row("date: month 13", "03-01", "13-01");
        row("date: hour 24", "T14:05:09", "T24:00:00");
        row("date: minute 60", "05:09", "60:09");
        row("date: second 60", "05:09", "05:60");
        row("date: five-digit year", "2025", "12025");
        row("date: sign", "2025", "+025");
        row("duration: text", "2.5", R"("2.5")");
        row("duration: Boolean", "2.5", "true");
        row("duration: leading zero", "2.5", "02.5");
        row("duration: too large", "2.5", "1e400");
        row("duration: not a number", "2.5", "NaN");
        row("id: null", R"("1B4E28BA-2FA1-11D2-883F-0016D3CCA427")", "null");
        row("id: too short", "427", "42");
        row("id: braces", "1B4E28BA-2FA1-11D2-883F-0016D3CCA427", "{1B4E28BA-2FA1-11D2-883F-0016D3CCA427}");
        row("id: no hexadecimal digit", "427", "42G");
        row("id: hyphen elsewhere", "1B4E28BA-2FA1", "1B4E28B-A2FA1");
        row("text: null", "\"b\"", "null");
        row("text: two values", "\"b\"", "\"b\":\"c\"");
        row("text: unfinished", "\"b\"", "\"b");
        row("text: unknown escape", "\"b\"", R"("\x")");
        row("text: lone high surrogate", "\"b\"", R"("\ud83d")");
        row("text: raw control character", "\"b\"", "\"\n\"");
        row("text: overlong UTF-8", "\"b\"", "\"\xc0\xaf\"");
        row("missing comma", ",\"text\"", " \"text\"");
        row("comment", "\"b\"", "\"b\"/**/");
        row("unknown member: bad value", R"("text")", R"("x":tru,"text")");
        row("unknown member: almost null", R"("text")", R"("x":nul,"text")");
        row("unknown member: bad number deep inside", R"("text")", R"("x":[{"y":[1,-]}],"text")");
        row("unknown member: bad escape", R"("text")", R"("x":"\q","text")");
        row("unknown member: bad name", R"("text")", R"("\q":1,"text")");
        row("unknown member: wrong bracket", R"("text")", R"("x":[1},"text")");
    }
    void refusesAllForOneBadRecord() {
        QFETCH(QByteArray, members);
        QVERIFY(!decodeHistory(historyWith(members)));
    }

    void refusesBadDocuments_data() {
        QTest::addColumn<QByteArray>("document");
        const auto good = encoded({record("a"), record("b")});
        QVERIFY(decodeHistory(good));
        for (qsizetype size = 0; size < good.size() - 2; ++size)
            QTest::addRow("cut after %d", int(size)) << good.first(size);
        QTest::newRow("garbage behind") << good + "x";
        QTest::newRow("second array behind") << good + "[]";
        QTest::newRow("zero byte behind") << good + QByteArray(1, '\0');
        QTest::newRow("object") << QByteArray(R"({"items":[]})");
        QTest::newRow("array of arrays") << QByteArray("[[]]");
        QTest::newRow("null among records") << good.chopped(2) + ",null]";
        QTest::newRow("comma at the end") << good.chopped(2) + ",]";
        QTest::newRow("UTF-16") << QByteArray("\xff\xfe[\0]\0", 6);
        QTest::newRow("deep nesting inside")
            << good.chopped(4) + R"(,"x":)" + QByteArray(100'000, '[') + QByteArray(100'000, ']') + "}]";
    }
    void refusesBadDocuments() {
        QFETCH(QByteArray, document);
        QVERIFY(!decodeHistory(document));
    }

    void countsWords_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<qsizetype>("words");
        QTest::newRow("empty") << QByteArray() << qsizetype{0};
        QTest::newRow("blank") << QByteArray(" \t\n\v\f\r \u00a0\u3000") << qsizetype{0};
        QTest::newRow("two blanks and a newline") << QByteArray("one  two\nthree") << qsizetype{3};
        QTest::newRow("around") << QByteArray("  one two  ") << qsizetype{2};
        QTest::newRow("separators that are no white space") << QByteArray("a\u200bb\u2060c\ufeffd\u180ee\x1c"
                                                                          "f")
                                                            << qsizetype{1};
        QTest::newRow("other scripts") << QByteArray("سلام دنیا\u2003für\u0085Straße") << qsizetype{4};
        QTest::newRow("emoji") << QByteArray("😀 😀😀") << qsizetype{2};
        QTest::newRow("broken UTF-8") << QByteArray("\xff \xe2\x80") << qsizetype{2};
    }
    void countsWords() {
        QFETCH(QByteArray, text);
        QFETCH(qsizetype, words);
        // At every distance from the start, since whole blocks of ASCII are counted at once.
        for (int before = 0; before < 10; ++before)
            QCOMPARE(wordCount(QByteArray(before, ' ') + text), words);
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
