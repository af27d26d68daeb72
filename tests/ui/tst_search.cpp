// What a search finds.

#include "ui/history/SearchIndex.h"

#include <QTest>

using namespace tavrik;

class SearchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void finds() {
        struct Row {
            const char* text;
            const char* query;
            bool found = true;
            const char* locale = "en_US";
        };
        const Row rows[]{{"HELLO there", "hello T"},
                         {"hello  there", "hello there", false},
                         {"Straße", "STRASSE"},
                         {"cafe\u0301 au lait", "CAFÉ"},
                         {"résumé", "resume", false},
                         {"ﬁnally", "final"},
                         {"ΟΔΟΣ", "οδος"},
                         {"می‌خواهم ببینی", "ببيني"},
                         {"على كتاب", "علی کتاب"},
                         {"می‌خواهم", "میخواهم"},
                         {"ISTANBUL", "istanbul"},
                         {"ISPARTA", "ısparta", true, "tr_TR"},
                         {"ISPARTA", "isparta", false, "tr_TR"},
                         {"İstanbul", "istanbul", true, "az_AZ"},
                         {"one", "eand", false}};
        for (const auto& row : rows) {
            SearchIndex index(row.locale);
            index.insert(0, "and one after");
            index.insert(0, row.text);
            index.insert(0, "removed");
            index.insert(0, row.text);
            index.remove(1);
            const auto positions = index.find(row.query);
            QVERIFY2(positions == (row.found ? std::vector<quint32>{0, 1} : std::vector<quint32>()),
                     row.text);
            QCOMPARE(index.find(row.query, 1).size(), row.found ? 1 : 0);
            QCOMPARE(index.find("\u200c").size(), 3);
        }
    }
};

QTEST_GUILESS_MAIN(SearchTest)
#include "tst_search.moc"
