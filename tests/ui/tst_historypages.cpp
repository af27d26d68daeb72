// What the pages Home and History show while the history and the day change.

#include "HistoryDesk.h"

#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <memory>
#include <random>

using namespace tavrik;
using namespace tavrik::test;
using namespace Qt::StringLiterals;

namespace {

QVariant at(const TranscriptionModel& model, int row, TranscriptionModel::Role role) {
    return model.data(model.index(row), role);
}

/// "[title] text": the title where a day begins, and ";" where it ends.
QString shownAt(const TranscriptionModel& model, int row) {
    const auto title = at(model, row, TranscriptionModel::dayTitleRole).toString();
    return (title.isEmpty() ? title : u"[%1] "_s.arg(title)) +
           at(model, row, TranscriptionModel::textRole).toString() +
           (at(model, row, TranscriptionModel::lastOfDayRole).toBool() ? u";"_s : QString());
}

QStringList shown(const TranscriptionModel& model) {
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows << shownAt(model, row);
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
        QCOMPARE(shown(*desk->pages.all()),
                 (QStringList{"[Today] early;", "[Yesterday] later", "late;", "[Mar 4, 2025] oldest;"}));
        QCOMPARE(shown(*desk->pages.today()), QStringList{"early;"});
        QCOMPARE(at(*desk->pages.all(), 3, TranscriptionModel::dayCaptionRole), "MAR 4, 2025");

        // Nobody may have told that the day has changed, when the window is shown.
        desk->now = desk->now.addDays(1);
        desk->pages.aboutToShow();
        QVERIFY(desk->pages.today()->isEmpty());
        QCOMPARE(shownAt(*desk->pages.all(), 0), "[Yesterday] early;");
        qputenv("TZ", "America/New_York");
        ::tzset();
        desk->days.changed();
        const auto row = shownAt(*desk->pages.all(), 0);
        const auto time = at(*desk->pages.all(), 0, TranscriptionModel::timeRole);
        initTestCase();
        QCOMPARE(row, "[Mar 6, 2025] later");
        QCOMPARE(time, "5:55 PM");
    }

    // A history too long for one slice of indexing.
    void searchesOnWhileTheHistoryChanges() {
        QList<Transcription> records;
        for (int i = 0; i < 60'000; ++i) {
            const auto text = QByteArray("für ").repeated(10) + QByteArray::number(i);
            records << Transcription{QUuid::createUuid(), toTimestamp(desk->now), text, 1};
        }
        desk = std::make_unique<HistoryDesk>(records);
        auto& all = *desk->pages.all();
        all.open();
        all.setQuery(u"9"_s);
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
        QCOMPARE(shown(all).join(' ').remove("[Today] ").remove(';'), expected.join(' '));
        all.close();
        QCOMPARE(all.rowCount(), desk->store.items().size());
        QSignalSpy told(&all, &TranscriptionModel::emptyChanged);
        all.open();
        all.setQuery(u"nowhere"_s);
        QTRY_VERIFY(all.isEmpty());
        QCOMPARE(told.size(), 1);
    }

    // Whatever happens, the rows are those of a model made afresh, and each change was announced.
    void staysTrueThroughRandomChanges() {
        auto& all = *desk->pages.all();
        auto& today = *desk->pages.today();
        // Keeps the rows as a view would that only follows the model's signals.
        QStringList mirror;
        const auto copyRows = [&](int first, int last) {
            for (int row = first; row <= last; ++row)
                mirror[row] = shownAt(all, row);
        };
        connect(&all, &QAbstractItemModel::modelReset, this, [&] { mirror = shown(all); });
        connect(&all, &QAbstractItemModel::rowsInserted, this, [&](const QModelIndex&, int first, int last) {
            mirror.insert(first, last - first + 1, QString());
            copyRows(first, last);
        });
        connect(&all, &QAbstractItemModel::rowsRemoved, this,
                [&](const QModelIndex&, int first, int last) { mirror.remove(first, last - first + 1); });
        connect(
            &all, &QAbstractItemModel::dataChanged, this,
            [&](const QModelIndex& first, const QModelIndex& last) { copyRows(first.row(), last.row()); });

        std::mt19937 random(11);
        const auto pick = [&random](qsizetype below) {
            return qsizetype(random() % std::size_t(below));
        };
        const QStringList queries{u""_s, u"A"_s, u"b"_s, u"ab"_s, u"z"_s};
        for (int step = 0; step < 1500; ++step) {
            // One that is there, or one that is not.
            const auto some = desk->store.items().value(pick(desk->store.items().size() + 1));
            const auto change = pick(12);
            if (change < 2)
                (change ? all : today).setQuery(queries.at(pick(queries.size())));
            else if (change == 2)
                desk->now = desk->now.addDays(pick(4) ? 1 : -1);
            else if (change == 3)
                pick(2) ? all.open() : all.close();
            else if (change == 4)
                desk->store.insertFirst(some);
            else if (change < 8)
                desk->store.remove(some.id);
            else
                desk->dictate(QByteArray::number(step) + (pick(2) ? "a" : "") + (pick(2) ? "B" : ""),
                              desk->now.addSecs(pick(10) ? step : -86400));
            desk->days.changed();
            CalledDays otherDays;
            HistoryPages anew(desk->dependencies(otherDays));
            anew.all()->setQuery(all.query());
            anew.today()->setQuery(today.query());
            // A slow search goes on later.
            QTRY_COMPARE(shown(all), shown(*anew.all()));
            QTRY_COMPARE(shown(today), shown(*anew.today()));
            QCOMPARE(mirror, shown(all));
        }
    }

private:
    std::unique_ptr<HistoryDesk> desk;
};

QTEST_GUILESS_MAIN(HistoryPagesTest)
#include "tst_historypages.moc"
