#include "storage/HistoryStore.h"
#include "storage/HistoryTestData.h"
#include "storage/LocalDays.h"
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

constexpr auto noOneElse = 0077;

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
        const QDateTime day(QDate(2025, 3, 1), QTime(12, 0), Qt::UTC);
        const auto text = [](const Transcription& r) {
            return r.text;
        };
        write({dictation("old", day.addDays(-1)), dictation("a", day), dictation("b", day),
               dictation("new", day.addDays(1)), dictation("c", day)});
        const HistoryStore store(m_folder);
        QByteArrayList texts;
        std::ranges::transform(store.items(), std::back_inserter(texts), text);
        QCOMPARE(texts, (QByteArrayList{"new", "a", "b", "c", "old"}));
    }

    // Front insertion keeps its place, whatever the clock said.
    void insertsFirst() {
        const QDateTime now = QDateTime::fromSecsSinceEpoch(1'750'000'000, Qt::UTC);
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

    void removingWhatIsNotThereChangesNothing() {
        HistoryStore store(m_folder);
        connect(&store, &HistoryStore::aboutToRemove, this, [] { QFAIL("announced"); });
        store.remove(QUuid::createUuid());
        QVERIFY(!QFile::exists(m_file));
    }

    void keepsAsideWhatItCannotDecode_data() {
        QTest::addColumn<QByteArray>("content");
        const auto good = document(numberedRecords(200));
        QTest::newRow("one bad record among many") << QByteArray(good).replace("\"150\"", "150");
        QTest::newRow("truncated") << good.first(good.size() / 2);
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no JSON") << QByteArray(1000, '\xff');
    }
    void keepsAsideWhatItCannotDecode() {
        QFETCH(QByteArray, content);
        // Twice, most likely within one second: the second must not take the first one's name.
        for (int kept = 1; kept <= 2; ++kept) {
            writeRaw(content);
            HistoryStore store(m_folder);
            QCOMPARE(store.items().size(), 0);
            QCOMPARE(othersIn(m_folder).size(), kept - 1);
            QCOMPARE(contentOf(m_file), content);
            store.insertFirst(dictation("new", QDateTime::currentDateTimeUtc()));
            QTRY_VERIFY(contentOf(m_file) == document(store.items()));
            const auto others = othersIn(m_folder);
            QCOMPARE(others.size(), kept);
            for (const auto& name : others) {
                QVERIFY2(name.startsWith("history (unreadable ") && name.endsWith(").json"),
                         qPrintable(name));
                QCOMPARE(contentOf(QDir(m_folder).filePath(name)), content);
                QCOMPARE(modeOf(QDir(m_folder).filePath(name)) & noOneElse, mode_t{0});
            }
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

    void followsASymbolicLink_data() {
        QTest::addColumn<bool>("readable");
        QTest::newRow("readable") << true;
        QTest::newRow("not readable") << false;
    }
    void followsASymbolicLink() {
        QFETCH(bool, readable);
        const auto synced = m_temporary->filePath("synced");
        QVERIFY(QDir().mkpath(synced) && QDir().mkpath(m_folder));
        const auto target = synced + "/dictations.json";
        const auto before = readable ? document(numberedRecords(1)) : QByteArray("[broken");
        QVERIFY(writeFile(target, before) && QFile::link(target, m_file));
        {
            HistoryStore store(m_folder);
            store.insertFirst(dictation("new", QDateTime::currentDateTimeUtc()));
        }
        QVERIFY(QFileInfo(m_file).isSymLink());
        QCOMPARE(decodeHistory(contentOf(target)).value_or(QList<Transcription>()).size(), readable ? 2 : 1);
        const auto aside = QDir(synced).entryList({"dictations (unreadable *).json"});
        QCOMPARE(aside.size(), readable ? 0 : 1);
        if (!readable)
            QCOMPARE(contentOf(synced + '/' + aside.first()), before);
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

    void keepsItsListWhereNothingCanBeWritten() {
        QVERIFY(QDir().mkpath(QFileInfo(m_folder).path()));
        QVERIFY(writeFile(m_folder, "a file where the folder should be"));
        HistoryStore store(m_folder);
        store.insertFirst(dictation("only here", QDateTime::currentDateTimeUtc()));
        QCOMPARE(store.items().size(), 1);
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
                store.insertFirst(dictation("x", QDateTime::fromSecsSinceEpoch(2'000'000'000 + i, Qt::UTC)));
                if (i % 3 == 0)
                    store.remove(store.items().at(i).id);
            }
            expected = store.items();
        }
        QCOMPARE(HistoryStore(m_folder).items(), expected);
    }

    void wordsPerMinute_data() {
        QTest::addColumn<QList<double>>("durations");
        QTest::addColumn<int>("words");
        QTest::addColumn<qint64>("expected");
        QTest::newRow("one second") << QList<double>{0.5, 0.5} << 100 << qint64{0};
        QTest::newRow("just over a second") << QList<double>{1.0, 1e-9} << 100 << qint64{6000};
        QTest::newRow("two and a half up") << QList<double>{24} << 1 << qint64{3};
        QTest::newRow("just under a half") << QList<double>{120.001} << 1 << qint64{0};
        QTest::newRow("negative") << QList<double>{-60} << 10 << qint64{0};
        QTest::newRow("endless") << QList<double>{1e308, 1e308} << 10 << qint64{0};
    }
    void wordsPerMinute() {
        QFETCH(QList<double>, durations);
        QFETCH(int, words);
        QFETCH(qint64, expected);
        HistoryStore store(m_folder);
        const auto now = QDateTime::currentDateTimeUtc();
        for (const double duration : durations)
            store.insertFirst(dictation("", now, duration));
        if (words > 0)
            store.insertFirst(dictation(QByteArray("word\u00a0").repeated(words), now, 0));
        QCOMPARE(store.totalWords(), words);
        QCOMPARE(store.wordsPerMinute(), expected);
    }

    void daysFollowTheTimeZone() {
        const auto before = qgetenv("TZ");
        const bool wasSet = qEnvironmentVariableIsSet("TZ");
        const auto restore = qScopeGuard([&] {
            if (wasSet)
                qputenv("TZ", before);
            else
                qunsetenv("TZ");
            tzset();
        });
        HistoryStore store(m_folder);
        QCOMPARE(store.daysUsed(), 0);
        for (const auto* const date : {"2025-03-01T20:29:00Z", "2025-03-01T20:31:00Z", "2025-03-01T23:59:00Z",
                                       "2025-03-02T00:01:00Z", "2025-03-01T20:30:00Z"})
            store.insertFirst(dictation("", QDateTime::fromString(date, Qt::ISODate)));
        const std::pair<const char*, qint64> expectations[]{
            {"UTC", 2}, {"Asia/Tehran", 2}, {"Asia/Tokyo", 1}, {"America/Los_Angeles", 1},
            {"UTC", 2}, {"XYZ-3:30", 2},    {"XYZ+12", 1}};
        for (const auto& [zone, days] : expectations) {
            useZone(zone);
            if (store.daysUsed() != days)
                QFAIL(zone);
        }
        useZone("nowhere at all");
        QVERIFY(store.daysUsed() > 0);
    }

    // Beside Qt's own conversion of every single date: with summer time either way round, changes of the
    // offset by half an hour or a whole day, and dates far from any table.
    void daysAreTheCalendars_data() {
        QTest::addColumn<QByteArray>("name");
        for (const auto* const name :
             {"UTC", "Europe/Berlin", "Asia/Tehran", "America/Sao_Paulo", "Pacific/Apia", "Africa/Casablanca",
              "Australia/Lord_Howe", "Europe/Dublin"})
            QTest::newRow(name) << QByteArray(name);
    }
    void daysAreTheCalendars() {
        QFETCH(QByteArray, name);
        const QTimeZone zone(name);
        QVERIFY(zone.isValid());
        QRandomGenerator random(1);
        QList<Transcription> records;
        QSet<QDate> days;
        const auto add = [&](const QDateTime& date) {
            records.append(dictation("", date));
            days.insert(date.toTimeZone(zone).date());
        };
        const auto start = QDateTime(QDate(1990, 1, 1), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
        for (int i = 0; i < 3000; ++i)
            add(QDateTime::fromMSecsSinceEpoch(start + random.bounded(1'600'000) * qint64{1'000'003},
                                               Qt::UTC));
        // Close to every change of the clock.
        auto change = QDateTime(QDate(1990, 1, 1), QTime(0, 0), Qt::UTC);
        for (int i = 0; i < 100 && change.isValid(); ++i) {
            for (const int seconds : {-86'400, -3600, -1, 0, 1, 3600, 86'400})
                add(change.addSecs(seconds));
            change = zone.nextTransition(change).atUtc;
        }
        for (const auto& far : {QDate(1, 1, 1), QDate(1850, 6, 1), QDate(2400, 7, 1), QDate(9999, 12, 31)})
            add(QDateTime(far, QTime(23, 30), Qt::UTC));
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
