// Numbers and days as a locale writes them, which locale that is, and shortcuts.

#include "platform/KeyReader.h"
#include "ui/history/UserFormats.h"
#include "ui/settings/ShortcutText.h"

#include <QTest>

using namespace tavrik;

class UserFormatsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void compact_data() {
        QTest::addColumn<std::string>("locale");
        QTest::addColumn<qint64>("number");
        QTest::addColumn<QString>("text");
        QTest::newRow("as it is") << std::string("en_US") << qint64{950} << "950";
        QTest::newRow("a thousand") << std::string("en_US") << qint64{1234} << "1.2K";
        QTest::newRow("two digits suffice") << std::string("en_US") << qint64{12345} << "12K";
        QTest::newRow("Persian") << std::string("fa_IR") << qint64{1234} << "۱٫۲ هزار";
    }
    void compact() {
        QFETCH(std::string, locale);
        QFETCH(qint64, number);
        QFETCH(QString, text);
        auto shown = UserFormats({.texts = locale, .numbers = locale, .dates = locale}).compact(number);
        QCOMPARE(shown.replace(QChar::Nbsp, u' '), text);
    }

    void dayTitle_data() {
        QTest::addColumn<std::string>("locale");
        QTest::addColumn<QDate>("day");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("caption");
        QTest::newRow("yesterday") << std::string("de_DE") << QDate(2025, 3, 6) << "Yesterday" << "YESTERDAY";
        QTest::newRow("later") << std::string("en_US") << QDate(2025, 3, 8) << "Mar 8, 2025" << "MAR 8, 2025";
        QTest::newRow("Turkish") << std::string("tr_TR") << QDate(2024, 4, 4) << "4 Nis 2024" << "4 NİS 2024";
        QTest::newRow("Persian calendar")
            << std::string("fa_IR") << QDate(2025, 3, 4) << "۱۴ اسفند ۱۴۰۳" << "۱۴ اسفند ۱۴۰۳";
    }
    void dayTitle() {
        QFETCH(std::string, locale);
        QFETCH(QDate, day);
        QFETCH(QString, title);
        QFETCH(QString, caption);
        const UserFormats formats({.texts = locale, .numbers = locale, .dates = locale});
        QCOMPARE(formats.dayTitle(day, QDate(2025, 3, 7)), title);
        QCOMPARE(formats.caption(title), caption);
    }

    void shortcut_data() {
        QTest::addColumn<quint32>("code");
        QTest::addColumn<QString>("characters");
        QTest::addColumn<QString>("text");
        QTest::newRow("arrow") << 126U << "" << "⌃⌥⇧⌘ ↑";
        QTest::newRow("backspace") << 51U << "\b" << "⌃⌥⇧⌘ Delete";
        QTest::newRow("no characters") << 96U << "" << "⌃⌥⇧⌘ Key 96";
        QTest::newRow("Persian") << 40U << "ن" << "⌃⌥⇧⌘ ن";
        QTest::newRow("grows") << 27U << "ß" << "⌃⌥⇧⌘ SS";
    }
    void shortcut() {
        QFETCH(quint32, code);
        QFETCH(QString, characters);
        constexpr auto all = KeyCombination::control + KeyCombination::option + KeyCombination::shift +
                             KeyCombination::command;
        QTEST(shortcutText({{code, all}, characters}), "text");
    }

    void locale_data() {
        QTest::addColumn<QByteArray>("all");
        QTest::addColumn<QByteArray>("dates");
        QTest::addColumn<QByteArray>("general");
        QTest::addColumn<std::string>("expected");
        QTest::newRow("general") << QByteArray() << QByteArray() << QByteArray("de_DE.UTF-8")
                                 << std::string("de_DE");
        QTest::newRow("category first")
            << QByteArray() << QByteArray("fa_IR") << QByteArray("de_DE") << std::string("fa_IR");
        QTest::newRow("all before it") << QByteArray("it_IT.UTF-8@euro") << QByteArray("fa_IR")
                                       << QByteArray("de_DE") << std::string("it_IT");
        QTest::newRow("none") << QByteArray("C.UTF-8") << QByteArray() << QByteArray()
                              << std::string("en_US");
    }
    void locale() {
        QFETCH(QByteArray, all);
        QFETCH(QByteArray, dates);
        QFETCH(QByteArray, general);
        QFETCH(std::string, expected);
        qputenv("LC_ALL", all);
        qputenv("LC_TIME", dates);
        qputenv("LANG", general);
        QCOMPARE(UserLocale::fromEnvironment().dates, expected);
    }
};

QTEST_GUILESS_MAIN(UserFormatsTest)
#include "tst_userformats.moc"
