#include "history/HistoryStore.h"
#include "history/HistoryTestData.h"
#include "history/LocalDays.h"
#include "support/Files.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <ctime>

using namespace tavrik;
using namespace tavrik::test;

namespace {

// Everything in the folder but the history itself, hidden files too.
QStringList othersIn(const QString& folder) {
    auto names =
        QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    names.removeAll(QStringLiteral("history.json"));
    return names;
}

void useZone(const QByteArray& name) {
    qputenv("TZ", name);
    tzset();
}

} // namespace

class TestHistoryStore : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_temporary = std::make_unique<QTemporaryDir>();
        m_folder = m_temporary->filePath("data/Tavrik");
        m_file = m_folder + "/history.json";
    }

    void startsEmptyAndMakesItsFolder() {
        {
            HistoryStore store(m_folder);
            QCOMPARE(store.items().size(), 0);
            QCOMPARE(modeOf(m_folder), mode_t{0700});
            QVERIFY(!QFile::exists(m_file));
            store.insertFirst(dictation("hello", QDateTime::currentDateTimeUtc()));
            QTRY_VERIFY(QFile::exists(m_file));
        }
        QCOMPARE(modeOf(m_file), mode_t{0600});
        QVERIFY(othersIn(m_folder).isEmpty());
        QCOMPARE(HistoryStore(m_folder).items().at(0).text, QByteArray("hello"));
    }

    void sortsNewestFirstAndStably() {
        const QDateTime day(QDate(2025, 3, 1), QTime(12, 0), QTimeZone::utc());
        QList records{dictation("old", day.addDays(-1))};
        for (char text = 'a'; text <= 'z'; ++text)
            records.append(dictation(QByteArray(1, text), day));
        records.append(dictation("new", day.addDays(1)));
        write(records);
        QByteArray texts;
        const HistoryStore store(m_folder);
        for (const auto& record : store.items())
            texts += record.text;
        QCOMPARE(texts, QByteArray("newabcdefghijklmnopqrstuvwxyzold"));
    }

    // Front insertion keeps its place, whatever the clock said.
    void insertsFirst() {
        const QDateTime now = QDateTime::fromSecsSinceEpoch(1'750'000'000, QTimeZone::utc());
        HistoryStore store(m_folder);
        QList<qsizetype> sizes;
        connect(&store, &HistoryStore::aboutToInsert, this, [&] { sizes.append(store.items().size()); });
        connect(&store, &HistoryStore::inserted, this, [&] { sizes.append(store.items().size()); });
        store.insertFirst(dictation("first", now));
        store.insertFirst(dictation("second", now.addDays(-1)));
        QCOMPARE(store.items().at(0).text, QByteArray("second"));
        QCOMPARE(sizes, (QList<qsizetype>{0, 1, 1, 2}));
    }

    void removesEveryRecordWithTheId() {
        auto records = numberedRecords(8);
        for (const int copy : {2, 3, 6, 7})
            records[copy].id = records[0].id;
        write(records);
        QList<Transcription> expected = records;
        expected.removeIf([&](const auto& r) { return r.id == records[0].id; });
        {
            HistoryStore store(m_folder);
            QList<std::pair<qsizetype, qsizetype>> ranges;
            qsizetype announced = 0;
            connect(&store, &HistoryStore::aboutToRemove, this, [&](qsizetype first, qsizetype last) {
                for (qsizetype i = first; i <= last; ++i)
                    QCOMPARE(store.items().at(i).id, records[0].id);
                announced = store.items().size() - (last - first + 1);
            });
            connect(&store, &HistoryStore::removed, this, [&](qsizetype first, qsizetype last) {
                QCOMPARE(store.items().size(), announced);
                ranges.append({first, last});
            });
            store.remove(records[0].id);
            QCOMPARE(ranges, (QList<std::pair<qsizetype, qsizetype>>{{6, 7}, {2, 3}, {0, 0}}));
            QCOMPARE(store.items(), expected);
            QCOMPARE(store.totalWords(), 3);
        }
        QCOMPARE(contentOf(m_file), document(expected));
    }

    void keepsAsideWhatItCannotDecode() {
        const auto oneBadRecord = document(numberedRecords(200)).replace("\"150\"", "150");
        // One after the other, most likely within one second: none must take the other's name.
        for (const auto& content : {oneBadRecord, QByteArray()}) {
            const auto before = othersIn(m_folder);
            writeRaw(content);
            HistoryStore store(m_folder);
            QCOMPARE(store.items().size(), 0);
            QCOMPARE(othersIn(m_folder), before);
            QCOMPARE(contentOf(m_file), content);
            store.insertFirst(dictation("new", QDateTime::currentDateTimeUtc()));
            QTRY_VERIFY(contentOf(m_file) == document(store.items()));
            auto added = othersIn(m_folder);
            added.removeIf([&](const auto& name) { return before.contains(name); });
            QCOMPARE(added.size(), 1);
            QVERIFY2(added[0].startsWith("history (unreadable ") && added[0].endsWith(").json"),
                     qPrintable(added[0]));
            QCOMPARE(contentOf(QDir(m_folder).filePath(added[0])), content);
            QCOMPARE(modeOf(QDir(m_folder).filePath(added[0])), mode_t{0600});
        }
    }

    void takesAccessFromOthers() {
        write(numberedRecords(1));
        ::chmod(QFile::encodeName(m_file).constData(), 0644);
        ::chmod(QFile::encodeName(m_folder).constData(), 0755);
        QCOMPARE(HistoryStore(m_folder).items().size(), 1);
        QCOMPARE(modeOf(m_file), mode_t{0600});
        QCOMPARE(modeOf(m_folder), mode_t{0700});
    }

    // What cannot be read is kept aside where the file really is.
    void followsASymbolicLink() {
        const QTemporaryDir synced;
        const auto target = synced.filePath("dictations.json");
        QVERIFY(writeFile(target, "[broken"));
        QVERIFY(QDir().mkpath(m_folder) && QFile::link(target, m_file));
        {
            HistoryStore store(m_folder);
            store.insertFirst(dictation("new", QDateTime::currentDateTimeUtc()));
        }
        QVERIFY(QFileInfo(m_file).isSymLink());
        QCOMPARE(decodeHistory(contentOf(target)).value_or(QList<Transcription>()).size(), 1);
        const auto aside = QDir(synced.path()).entryList({"dictations (unreadable *).json"});
        QCOMPARE(aside.size(), 1);
        QCOMPARE(contentOf(synced.filePath(aside.first())), "[broken");
    }

    void isNotHeldUpByAPipeInItsPlace() {
        QVERIFY(QDir().mkpath(m_folder));
        QCOMPARE(::mkfifo(QFile::encodeName(m_file).constData(), 0600), 0);
        {
            HistoryStore store(m_folder);
            QCOMPARE(store.items().size(), 0);
            store.insertFirst(dictation("new", QDateTime::currentDateTimeUtc()));
        }
        QCOMPARE(HistoryStore(m_folder).items().size(), 1);
    }

    void triesAgainWithTheNextChange() {
        QVERIFY(QDir().mkpath(m_file + "/full"));
        HistoryStore store(m_folder);
        store.insertFirst(dictation("one", QDateTime::currentDateTimeUtc()));
        QVERIFY(QFileInfo(m_file).isDir());
        QVERIFY(QDir(m_file).removeRecursively());
        store.insertFirst(dictation("two", QDateTime::currentDateTimeUtc()));
        QTRY_COMPARE(contentOf(m_file), document(store.items()));
    }

    // A limit on the size of files stands for the full disk: root can fill neither quota nor reserve
    // reliably.
    void leavesTheOldFileWhenTheDiskIsFull() {
        const auto records = numberedRecords(10);
        write(records);
        rlimit before{};
        ::getrlimit(RLIMIT_FSIZE, &before);
        const auto unlimited = qScopeGuard([&before] { ::setrlimit(RLIMIT_FSIZE, &before); });
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit tight{rlim_t{300} * 1024, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &tight);
        {
            HistoryStore store(m_folder);
            store.insertFirst(
                dictation(QByteArray(qsizetype{400} * 1024, 'x'), QDateTime::currentDateTimeUtc()));
            QCOMPARE(store.items().size(), 11);
        }
        QCOMPARE(contentOf(m_file), document(records));
        QVERIFY(othersIn(m_folder).isEmpty());
    }

    void survivesBeingKilledAtAnyMoment() {
        QRandomGenerator random(9);
        write(numberedRecords(2000));
        qsizetype saved = 2000;
        int interrupted = 0;
        for (int kill = 0; kill < 200; ++kill) {
            QProcess writer;
            writer.start(QStringLiteral(HISTORY_WRITER), {m_folder});
            QVERIFY(writer.waitForReadyRead());
            // The last one's unfinished file is gone as soon as the history is open again.
            QVERIFY(othersIn(m_folder).size() <= 1);
            QThread::usleep(random.bounded(25'000));
            writer.kill();
            QVERIFY(writer.waitForFinished());
            QCOMPARE(writer.exitStatus(), QProcess::CrashExit);
            const auto unfinished = othersIn(m_folder).size();
            QVERIFY(unfinished <= 1);
            interrupted += static_cast<int>(unfinished);

            const auto records = decodeHistory(contentOf(m_file)).value_or(QList<Transcription>());
            QVERIFY(records.size() >= saved);
            saved = records.size();
            // One whole state: every number down to 1.
            for (qsizetype i = 0; i < saved; ++i)
                QCOMPARE(records.at(i).text.toLongLong(), saved - i);
        }
        QVERIFY2(saved > 2000 && interrupted > 0, "no save was interrupted, or none was finished");
        QVERIFY(writeFile(m_folder + "/.history.json.unfinished-abcdef", "of a save long ago"));
        QCOMPARE(HistoryStore(m_folder).items().size(), saved);
        QCOMPARE(othersIn(m_folder), QStringList());
    }

    // Changes made while a save is under way are all in the last one.
    void savesWhatPilesUp() {
        write(numberedRecords(5000));
        QList<Transcription> expected;
        {
            HistoryStore store(m_folder);
            for (int i = 0; i < 300; ++i) {
                store.insertFirst(
                    dictation("x", QDateTime::fromSecsSinceEpoch(2'000'000'000 + i, QTimeZone::utc())));
                if (i % 3 == 0)
                    store.remove(store.items().at(i).id);
            }
            expected = store.items();
        }
        QCOMPARE(HistoryStore(m_folder).items(), expected);
    }

    void wordsPerMinute() {
        const std::tuple<QList<double>, int, qint64> rows[]{{{0.5, 0.5}, 100, 0}, {{1.0, 1e-9}, 100, 6000},
                                                            {{24}, 1, 3},         {{120.001}, 1, 0},
                                                            {{-60}, 10, 0},       {{1e308, 1e308}, 10, 0}};
        const auto now = QDateTime::currentDateTimeUtc();
        for (const auto& [durations, words, expected] : rows) {
            const QTemporaryDir folder;
            HistoryStore store(folder.path());
            for (const double duration : durations)
                store.insertFirst(dictation("", now, duration));
            store.insertFirst(dictation(QByteArray("word\u00a0").repeated(words), now, 0));
            QCOMPARE(store.totalWords(), words);
            QCOMPARE(store.wordsPerMinute(), expected);
        }
    }

    void daysFollowTheTimeZone() {
        const auto before = qgetenv("TZ");
        const auto restore = qScopeGuard([&] { useZone(before); });
        HistoryStore store(m_folder);
        QCOMPARE(store.daysUsed(), 0);
        for (const auto* const date :
             {"2025-03-01T20:29:00Z", "2025-03-01T20:31:00Z", "2025-03-02T00:01:00Z"})
            store.insertFirst(dictation("", QDateTime::fromString(date, Qt::ISODate)));
        const std::pair<const char*, qint64> expectations[]{
            {"UTC", 2}, {"Asia/Tehran", 2}, {"Asia/Tokyo", 1}, {"America/Los_Angeles", 1}, {"XYZ-3:30", 2}};
        for (const auto& [zone, days] : expectations) {
            useZone(zone);
            QVERIFY2(store.daysUsed() == days, zone);
        }
        useZone("nowhere at all");
        QVERIFY(store.daysUsed() > 0);
    }

    // Beside Qt's own conversion of every single date: with summer time either way round, changes of the
    // offset by half an hour or a whole day, and dates far from any table.
    void daysAreTheCalendars_data() {
        QTest::addColumn<QTimeZone>("zone");
        for (const auto* const name :
             {"Europe/Berlin", "Asia/Tehran", "Pacific/Apia", "Africa/Casablanca", "Australia/Lord_Howe"})
            QTest::newRow(name) << QTimeZone(name);
    }
    void daysAreTheCalendars() {
        QFETCH(QTimeZone, zone);
        QVERIFY(zone.isValid());
        QList<Transcription> records;
        QSet<QDate> days;
        const auto add = [&](const QDateTime& date) {
            records.append(dictation("", date));
            days.insert(date.toTimeZone(zone).date());
        };
        // Close to every change of the clock.
        auto change = QDateTime(QDate(1990, 1, 1), QTime(0, 0), QTimeZone::utc());
        for (int i = 0; i < 100 && change.isValid(); ++i) {
            for (const int seconds : {-86'400, -3600, -1, 0, 1, 3600, 86'400})
                add(change.addSecs(seconds));
            change = zone.nextTransition(change).atUtc;
        }
        for (const auto& far : {QDate(1, 1, 1), QDate(1850, 6, 1), QDate(2400, 7, 1), QDate(9999, 12, 31)})
            add(QDateTime(far, QTime(23, 30), QTimeZone::utc()));
        QCOMPARE(distinctDays(records, zone), days.size());
        std::ranges::sort(records, {}, &Transcription::date);
        QCOMPARE(distinctDays(records, zone), days.size());
    }

private:
    void writeRaw(const QByteArray& content) const {
        QVERIFY(QDir().mkpath(m_folder));
        QVERIFY(writeFile(m_file, content));
    }
    void write(const QList<Transcription>& records) const { writeRaw(document(records)); }

    std::unique_ptr<QTemporaryDir> m_temporary;
    QString m_folder;
    QString m_file;
};

QTEST_GUILESS_MAIN(TestHistoryStore)
#include "tst_historystore.moc"
