// What the pages Home and History show while the history and the day change.

#include "HistoryDesk.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <memory>
#include <random>

using namespace tavrik;
using namespace tavrik::test;

namespace {

QVariant at(const TranscriptionModel& model, int row, TranscriptionModel::Role role) {
    return model.data(model.index(row), role);
}

/// "[title] text, text [title] text": a row's title stands before it, the last
/// row of a day ends with ";".
QStringList shown(const TranscriptionModel& model) {
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row) {
        const auto title = at(model, row, TranscriptionModel::dayTitleRole).toString();
        rows << (title.isEmpty() ? QString() : QStringLiteral("[%1] ").arg(title)) +
                    at(model, row, TranscriptionModel::textRole).toString() +
                    (at(model, row, TranscriptionModel::lastOfDayRole).toBool() ? QStringLiteral(";")
                                                                                : QString());
    }
    return rows;
}

} // namespace

class HistoryPagesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        qputenv("TZ", "Europe/Berlin");
        ::tzset();
    }

    void init() { desk = std::make_unique<HistoryDesk>(); }

    void groupsByDay() {
        const QDate today(2025, 3, 7);
        desk->dictate("oldest", {today.addDays(-3), QTime(9, 0)});
        desk->dictate("late", {today.addDays(-1), QTime(23, 50)});
        desk->dictate("early", {today, QTime(0, 30)});
        // As after the clock was set back.
        desk->dictate("later", {today.addDays(-1), QTime(23, 55)});
        const QStringList expected{"[Today] early;", "[Yesterday] later", "late;", "[Mar 4, 2025] oldest;"};
        QCOMPARE(shown(*desk->pages.all()), expected);
        QCOMPARE(shown(*desk->pages.today()), QStringList{"early;"});
        QCOMPARE(at(*desk->pages.all(), 3, TranscriptionModel::dayCaptionRole).toString(), "MAR 4, 2025");
        QCOMPARE(at(*desk->pages.all(), 0, TranscriptionModel::timeRole).toString(), "12:30 AM");
        CalledDays otherDays;
        HistoryPages anew(desk->dependencies(otherDays));
        QCOMPARE(shown(*anew.all()), expected);
    }

    // A history too long for one slice of indexing.
    void searchesOnWhileTheHistoryChanges() {
        QList<Transcription> records;
        for (int i = 0; i < 60'000; ++i)
            records << Transcription{QUuid::createUuid(), desk->now.toUTC(), QByteArray::number(i), 1};
        desk = std::make_unique<HistoryDesk>(records);
        auto& all = *desk->pages.all();
        all.open();
        all.setQuery(QStringLiteral("9"));
        QVERIFY(!all.isEmpty());
        desk->dictate("9 new", desk->now);
        desk->dictate("8 new", desk->now);
        desk->store.remove(records.last().id);
        desk->store.remove(records.at(59'990).id);

        QStringList expected;
        for (const auto& record : desk->store.items()) {
            if (record.text.contains('9'))
                expected << QString::fromUtf8(record.text);
        }
        QTRY_COMPARE(all.rowCount(), expected.size());
        for (int row = 0; row < all.rowCount(); ++row)
            QCOMPARE(at(all, row, TranscriptionModel::textRole), expected.at(row));

        all.close();
        QCOMPARE(all.rowCount(), desk->store.items().size());
        all.open();
        QSignalSpy told(&all, &TranscriptionModel::emptyChanged);
        all.setQuery(QStringLiteral("nowhere"));
        QTRY_VERIFY(all.isEmpty());
        QVERIFY(!told.isEmpty());
    }

    void midnightComesWhileOpen() {
        desk->now.setTime({23, 59});
        desk->dictate("hello", desk->now);
        desk->pages.all()->open();
        desk->pages.all()->setQuery(QStringLiteral("H"));
        desk->now = desk->now.addSecs(60);
        desk->days.changed();
        QVERIFY(desk->pages.today()->isEmpty());
        QCOMPARE(shown(*desk->pages.all()), (QStringList{"[Yesterday] hello;"}));
        desk->dictate("oh", desk->now);
        QCOMPARE(shown(*desk->pages.today()), QStringList{"oh;"});
        QCOMPARE(shown(*desk->pages.all()), (QStringList{"[Today] oh;", "[Yesterday] hello;"}));
        // Nobody may have told that the day has changed, when the window is shown.
        desk->now = desk->now.addDays(1);
        desk->pages.aboutToShow();
        QCOMPARE(shown(*desk->pages.all()), (QStringList{"[Yesterday] oh;", "[Mar 7, 2025] hello;"}));
    }

    void aSessionInPersian() {
        qputenv("LC_ALL", "fa_IR.UTF-8");
        desk->locale = UserLocale::fromEnvironment();
        qunsetenv("LC_ALL");
        desk->dictate(QByteArray("WORD ").repeated(1234), {QDate(2025, 3, 4), QTime(21, 5)});
        desk->dictate("two words", desk->now);
        CalledDays otherDays;
        HistoryPages pages(desk->dependencies(otherDays));
        QCOMPARE(pages.stats()->totalWords().replace(QChar::Nbsp, u' '), QStringLiteral("۱٫۲ هزار"));
        QCOMPARE(pages.stats()->daysUsed(), "2");
        auto& all = *pages.all();
        QCOMPARE(at(all, 0, TranscriptionModel::dayTitleRole).toString(), "Today");
        QCOMPARE(at(all, 1, TranscriptionModel::dayTitleRole).toString(), QStringLiteral("۱۴ اسفند ۱۴۰۳"));
        QCOMPARE(at(all, 1, TranscriptionModel::timeRole).toString(), "9:05 PM");
        all.setQuery(QStringLiteral("word w"));
        QCOMPARE(all.rowCount(), 1);
    }

    void followsTheTimeZone() {
        desk->dictate("hello", {QDate(2025, 3, 7), QTime(0, 30)});
        qputenv("TZ", "America/New_York");
        ::tzset();
        desk->days.changed();
        const auto rows = shown(*desk->pages.all());
        const auto time = at(*desk->pages.all(), 0, TranscriptionModel::timeRole).toString();
        initTestCase();
        QCOMPARE(rows, (QStringList{"[Yesterday] hello;"}));
        QCOMPARE(time, "6:30 PM");
    }

    void copies() {
        desk->dictate("first", desk->now);
        desk->dictate("<b>second</b>\n", desk->now);
        auto& today = *desk->pages.today();
        QSignalSpy changes(&today, &QAbstractItemModel::dataChanged);
        today.copy(0);
        QCOMPARE(desk->clipboard.held, "<b>second</b>\n");
        QVERIFY(at(today, 0, TranscriptionModel::copiedRole).toBool());
        QVERIFY(!at(today, 1, TranscriptionModel::copiedRole).toBool());
        // The confirmation belongs to the record, wherever it moves.
        desk->dictate("third", desk->now);
        QVERIFY(at(today, 1, TranscriptionModel::copiedRole).toBool());
        changes.clear();
        QTRY_VERIFY(!at(today, 1, TranscriptionModel::copiedRole).toBool());
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.first().first().toModelIndex().row(), 1);
    }

    void deletes() {
        desk->dictate("first", desk->now);
        desk->dictate("second", desk->now);
        for (const int row : {1, 1, -1})
            desk->pages.today()->remove(row);
        QCOMPARE(shown(*desk->pages.all()), (QStringList{"[Today] second;"}));
        QCOMPARE(desk->store.items().size(), 1);
    }

    void stats() {
        const auto shownStats = [this] {
            const auto& stats = *desk->pages.stats();
            return QStringList{stats.totalWords(), stats.wordsPerMinute(), stats.daysUsed(),
                               stats.daysLabel()};
        };
        QCOMPARE(shownStats(), (QStringList{"0", "0", "0", "days"}));
        desk->dictate(QByteArray("word ").repeated(120), desk->now.addDays(-5), 90);
        QCOMPARE(shownStats(), (QStringList{"120", "80", "1", "day"}));
        desk->dictate(QByteArray("word ").repeated(1114), desk->now, 30);
        QCOMPARE(shownStats(), (QStringList{"1.2K", "617", "2", "days"}));
    }

    // Whatever happens, the rows are those of a model made afresh, and each change was announced.
    void staysTrueThroughRandomChanges() {
        auto& all = *desk->pages.all();
        auto& today = *desk->pages.today();
        const QAbstractItemModelTester checkAll(&all, QAbstractItemModelTester::FailureReportingMode::QtTest);
        const QAbstractItemModelTester checkToday(&today,
                                                  QAbstractItemModelTester::FailureReportingMode::QtTest);
        QStringList mirror;
        mirrorRows(all, mirror);

        std::mt19937 random(11);
        const auto pick = [&random](qsizetype below) {
            return static_cast<qsizetype>(random() % static_cast<unsigned>(below));
        };
        const QStringList queries{
            {}, QStringLiteral("A"), QStringLiteral("b"), QStringLiteral("ab"), QStringLiteral("z")};
        for (int step = 0; step < 1500; ++step) {
            const auto& items = desk->store.items();
            switch (pick(12)) {
            case 0:
                all.setQuery(queries.at(pick(queries.size())));
                break;
            case 1:
                today.setQuery(queries.at(pick(queries.size())));
                break;
            case 2:
                desk->now = desk->now.addDays(pick(4) ? 1 : -1);
                desk->days.changed();
                break;
            case 3:
                pick(2) ? all.open() : all.close();
                break;
            case 4:
                if (!items.isEmpty())
                    desk->store.insertFirst(Transcription(items.at(pick(items.size()))));
                break;
            case 5:
            case 6:
            case 7:
                if (!items.isEmpty())
                    desk->store.remove(QUuid(items.at(pick(items.size())).id));
                break;
            default:
                desk->dictate(QByteArray(pick(2) ? "a" : "") + (pick(2) ? "B" : "") +
                                  QByteArray::number(step),
                              desk->now.addSecs(pick(10) ? step : -86400));
            }
            CalledDays otherDays;
            HistoryPages anew(desk->dependencies(otherDays));
            anew.all()->setQuery(all.query());
            anew.today()->setQuery(today.query());
            QCOMPARE(shown(all), shown(*anew.all()));
            QCOMPARE(shown(today), shown(*anew.today()));
            QCOMPARE(mirror, shown(all));
        }
    }

private:
    /// Keeps `mirror` as a view would that only follows the model's signals.
    static void mirrorRows(TranscriptionModel& model, QStringList& mirror) {
        connect(&model, &QAbstractItemModel::modelReset, &model, [&] { mirror = shown(model); });
        connect(&model, &QAbstractItemModel::rowsInserted, &model,
                [&](const QModelIndex&, int first, int last) {
                    const auto rows = shown(model);
                    for (int row = first; row <= last; ++row)
                        mirror.insert(row, rows.at(row));
                });
        connect(&model, &QAbstractItemModel::rowsRemoved, &model,
                [&](const QModelIndex&, int first, int last) { mirror.remove(first, last - first + 1); });
        connect(&model, &QAbstractItemModel::dataChanged, &model,
                [&](const QModelIndex& first, const QModelIndex& last) {
                    const auto rows = shown(model);
                    for (int row = first.row(); row <= last.row(); ++row)
                        mirror[row] = rows.at(row);
                });
    }

    std::unique_ptr<HistoryDesk> desk;
};

QTEST_GUILESS_MAIN(HistoryPagesTest)
#include "tst_historypages.moc"
