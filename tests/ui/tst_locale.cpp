// What is up to the locale: numbers, days, shortcuts and what a search finds; and which locale that is.

#include "platform/KeyReader.h"
#include "ui/history/SearchIndex.h"
#include "ui/history/UserFormats.h"
#include "ui/settings/ShortcutText.h"

#include <QTest>

using namespace tavrik;

class LocaleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void numbers() {
        const std::tuple<const char*, qint64, QString> rows[]{{"en_US", 950, "950"},
                                                              {"en_US", 12345, "12K"},
                                                              {"en_US", 3'000'000, "3M"},
                                                              {"fa_IR", 1234, QStringLiteral("۱٫۲ هزار")}};
        for (const auto& [locale, number, text] : rows)
            QCOMPARE(UserFormats({.texts = locale, .numbers = locale, .dates = locale})
                         .compact(number)
                         .replace(QChar::Nbsp, u' '),
                     text);
    }

    void days() {
        const std::tuple<const char*, QDate, QString> rows[]{
            {"de_DE", {2025, 3, 6}, "YESTERDAY"},
            {"en_US", {2025, 3, 8}, "MAR 8, 2025"},
            {"tr_TR", {2024, 4, 4}, QStringLiteral("4 NİS 2024")},
            {"fa_IR", {2025, 3, 4}, QStringLiteral("۱۴ اسفند ۱۴۰۳")}};
        for (const auto& [locale, day, caption] : rows) {
            const UserFormats formats({.texts = locale, .numbers = locale, .dates = locale});
            QCOMPARE(formats.caption(formats.dayTitle(day, QDate(2025, 3, 7))), caption);
        }
    }

    void searches() {
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

    void shortcuts() {
        constexpr auto all = KeyCombination::control + KeyCombination::option + KeyCombination::shift +
                             KeyCombination::command;
        const std::tuple<quint32, const char*, const char*> rows[]{
            {126, "", "↑"}, {51, "\b", "Delete"}, {96, "", "Key 96"}, {40, "ن", "ن"}, {27, "ß", "SS"}};
        for (const auto& [code, characters, text] : rows)
            QCOMPARE(shortcutText({{code, all}, QString::fromUtf8(characters)}),
                     QStringLiteral("⌃⌥⇧⌘ ") + QString::fromUtf8(text));
    }

    void locales() {
        const std::tuple<const char*, const char*, const char*, std::string> rows[]{
            {"", "", "de_DE.UTF-8", "de_DE"},
            {"", "fa_IR", "de_DE", "fa_IR"},
            {"it_IT.UTF-8@euro", "fa_IR", "de_DE", "it_IT"},
            {"C.UTF-8", "", "", "en_US"}};
        for (const auto& [all, dates, general, expected] : rows) {
            qputenv("LC_ALL", all);
            qputenv("LC_TIME", dates);
            qputenv("LANG", general);
            QCOMPARE(UserLocale::fromEnvironment().dates, expected);
        }
    }
};

QTEST_GUILESS_MAIN(LocaleTest)
#include "tst_locale.moc"
