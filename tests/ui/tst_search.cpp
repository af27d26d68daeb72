// What a search finds, and that the index stays right while texts come and go.

#include "ui/history/TextIndex.h"

#include <QTest>

#include <random>

using namespace tavrik;

class SearchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void finds_data() {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("query");
        QTest::addColumn<bool>("found");
        const auto row = [](const char* name, const char* text, const char* query, bool found,
                            const char* locale = "en_US") {
            QTest::newRow(name) << locale << QString::fromUtf8(text) << QString::fromUtf8(query) << found;
        };
        row("spaces count", "hello  there", "hello there", false);
        row("sharp s for two", "Straße", "STRASSE", true);
        row("composed for decomposed", "cafe\u0301 au lait", "CAFÉ", true);
        row("an accent is a difference", "résumé", "resume", false);
        row("ligature", "ﬁnally", "final", true);
        row("final sigma", "ΟΔΟΣ", "οδος", true);
        row("Arabic ye for the Persian", "می‌خواهم ببینی", "ببيني", true);
        row("ye without dots", "على", "علی", true);
        row("Arabic kaf for the Persian", "کتاب", "كتاب", true);
        row("without the non-joiner", "می‌خواهم", "میخواهم", true);
        row("capital I elsewhere", "ISTANBUL", "istanbul", true);
        row("Turkish: dotless for I", "ISPARTA", "ısparta", true, "tr_TR");
        row("Turkish: I is not i", "ISPARTA", "isparta", false, "tr_TR");
        row("Turkish: dotted for İ", "İstanbul", "istanbul", true, "tr_TR");
    }

    void finds() {
        QFETCH(QString, locale);
        QFETCH(QString, text);
        QFETCH(QString, query);
        QFETCH(bool, found);
        TextIndex index{SearchFold(locale.toStdString())};
        index.insert(0, "a text before");
        index.insert(1, text.toUtf8());
        index.insert(2, "and one after");
        const auto positions = index.find(query.toUtf8());
        QCOMPARE(positions, found ? std::vector<quint32>{1} : std::vector<quint32>{});
    }

    void neverFindsAcrossTexts() {
        TextIndex index{SearchFold("en_US")};
        index.insert(0, "one");
        index.insert(1, "two");
        QVERIFY(index.find("onetwo").empty());
        QCOMPARE(index.find("\u200c"), (std::vector<quint32>{0, 1})); // nothing visible is searched for
    }

    // Against the plain way, over texts short enough for many hits at every distance from a block's borders.
    void agreesWithThePlainWay() {
        std::mt19937 random(7);
        const auto text = [&random] {
            QByteArray letters(static_cast<qsizetype>(random() % 60), 'a');
            for (auto& letter : letters)
                letter = static_cast<char>('a' + random() % 3);
            return letters;
        };
        TextIndex index{SearchFold("en_US")};
        QList<QByteArray> texts;
        for (int step = 0; step < 3000; ++step) {
            const auto at = static_cast<qsizetype>(random() % static_cast<unsigned>(texts.size() + 1));
            if (random() % 3 && texts.size() < 200) {
                texts.insert(at, text());
                index.insert(static_cast<std::size_t>(at), texts.at(at));
            } else if (at < texts.size()) {
                texts.removeAt(at);
                index.remove(static_cast<std::size_t>(at));
            }
            const auto query = text().left(1 + step % 20);
            std::vector<quint32> expected;
            for (qsizetype i = 0; i < texts.size(); ++i) {
                if (texts.at(i).contains(query))
                    expected.push_back(static_cast<quint32>(i));
            }
            QCOMPARE(index.find(query), expected);
        }
    }
};

QTEST_GUILESS_MAIN(SearchTest)
#include "tst_search.moc"
