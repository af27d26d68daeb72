#include "history/HistoryDecoder.h"
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

    void startsEmptyAndKeepsToTheUser() {
        {
            HistoryStore store(m_folder);
            QCOMPARE(store.items().size(), 0);
            QCOMPARE(modeOf(m_folder), mode_t{0700});
            QVERIFY(!QFile::exists(m_file));
            store.insertFirst(dictation("hello"));
            QTRY_VERIFY(QFile::exists(m_file));
        }
        QCOMPARE(modeOf(m_file), mode_t{0600});
        QVERIFY(othersIn(m_folder).isEmpty());

        ::chmod(QFile::encodeName(m_file).constData(), 0644);
        ::chmod(QFile::encodeName(m_folder).constData(), 0755);
        QCOMPARE(HistoryStore(m_folder).items().at(0).text, QByteArray("hello"));
        QCOMPARE(modeOf(m_file), mode_t{0600});
        QCOMPARE(modeOf(m_folder), mode_t{0700});
    }

    void sortsNewestFirstAndStably() {
        const QDateTime day(QDate(2025, 3, 1), QTime(12, 0), QTimeZone::utc());
        QList records{dictation("old", day.addDays(-1))};
        for (char text = 'a'; text <= 'z'; ++text)
            records.append(dictation(QByteArray(1, text), day));
        records.append(dictation("new", day.addDays(1)));
        write(records);
        QByteArray texts;
        HistoryStore store(m_folder);
        for (const auto& record : store.items())
            texts += record.text;
        QCOMPARE(texts, QByteArray("newabcdefghijklmnopqrstuvwxyzold"));
        // A new record comes first whatever the clock says.
        store.insertFirst(dictation("last", day.addDays(-9)));
        QCOMPARE(store.items().at(0).text, QByteArray("last"));
    }

    void announcesChanges() {
        auto records = numberedRecords(8);
        for (const int copy : {2, 3, 6, 7})
            records[copy].id = records[0].id;
        write(records);
        {
            HistoryStore store(m_folder);
            QStringList announced;
            const auto record = [&](const QString& what) {
                return [&, what](qsizetype first, qsizetype last) {
                    announced << QStringLiteral("%1 %2-%3 of %4")
                                     .arg(what)
                                     .arg(first)
                                     .arg(last)
                                     .arg(store.items().size());
                };
            };
            connect(&store, &HistoryStore::aboutToInsert, this, record("inserts"));
            connect(&store, &HistoryStore::inserted, this, record("inserted"));
            connect(&store, &HistoryStore::aboutToRemove, this, record("removes"));
            connect(&store, &HistoryStore::removed, this, record("removed"));
            store.remove(records[0].id);
            store.insertFirst(dictation("two words"));
            QCOMPARE(announced, (QStringList{"removes 6-7 of 8", "removed 6-7 of 6", "removes 2-3 of 6",
                                             "removed 2-3 of 4", "removes 0-0 of 4", "removed 0-0 of 3",
                                             "inserts 0-0 of 3", "inserted 0-0 of 4"}));
            QCOMPARE(store.totalWords(), 5);
            records = {store.items().at(0), records[1], records[4], records[5]};
            QCOMPARE(store.items().sliced(1), records.sliced(1));
        }
        records[0].date = records[0].date.addMSecs(-records[0].date.time().msec());
        QCOMPARE(decodeHistory(contentOf(m_file)), records);
    }

    // Where the file really is, if a symbolic link leads to it.
    void keepsAsideWhatItCannotDecode() {
        const QTemporaryDir synced;
        const auto target = synced.filePath("history.json");
        QVERIFY(QDir().mkpath(m_folder) && QFile::link(target, m_file));
        // One after the other, most likely within one second: none must take the other's name.
        for (const auto& content :
             {encodeHistory(numberedRecords(200)).replace("\"150\"", "150"), QByteArray()}) {
            auto before = othersIn(synced.path());
            QVERIFY(writeFile(target, content));
            HistoryStore store(m_folder);
            QCOMPARE(store.items().size(), 0);
            QCOMPARE(othersIn(synced.path()), before);
            store.insertFirst(dictation("new"));
            QTRY_COMPARE(contentOf(target), encodeHistory(store.items()));
            auto added = othersIn(synced.path());
            added.removeIf([&](const auto& name) { return before.contains(name); });
            QCOMPARE(added.size(), 1);
            QVERIFY2(added[0].startsWith("history (unreadable "), qPrintable(added[0]));
            QCOMPARE(contentOf(synced.filePath(added[0])), content);
            QCOMPARE(modeOf(synced.filePath(added[0])), mode_t{0600});
        }
        QVERIFY(QFileInfo(m_file).isSymLink());
    }

    void isNotHeldUpByWhatStandsInItsPlace() {
        QVERIFY(QDir().mkpath(m_folder));
        QCOMPARE(::mkfifo(QFile::encodeName(m_file).constData(), 0600), 0);
        HistoryStore(m_folder).insertFirst(dictation("new"));
        QCOMPARE(HistoryStore(m_folder).items().size(), 1);

        QVERIFY(QFile::remove(m_file) && QDir().mkpath(m_file + "/full"));
        HistoryStore store(m_folder);
        store.insertFirst(dictation("one"));
        QVERIFY(QFileInfo(m_file).isDir());
        // The next change tries again.
        QVERIFY(QDir(m_file).removeRecursively());
        store.insertFirst(dictation("two"));
        QTRY_COMPARE(contentOf(m_file), encodeHistory(store.items()));
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
        HistoryStore(m_folder).insertFirst(dictation(QByteArray(qsizetype{400} * 1024, 'x')));
        QCOMPARE(contentOf(m_file), encodeHistory(records));
        QVERIFY(othersIn(m_folder).isEmpty());
    }

    void survivesBeingKilledAtAnyMoment() {
        QRandomGenerator random(9);
        write(numberedRecords(2000));
        qsizetype saved = 2000;
        qsizetype interrupted = 0;
        for (int kill = 0; kill < 100; ++kill) {
            QProcess writer;
            writer.start(QStringLiteral(HISTORY_WRITER), {m_folder});
            QVERIFY(writer.waitForReadyRead());
            QThread::usleep(random.bounded(25'000));
            writer.kill();
            QVERIFY(writer.waitForFinished());
            QCOMPARE(writer.exitStatus(), QProcess::CrashExit);
            const auto unfinished = othersIn(m_folder).size();
            QVERIFY(unfinished <= 1);
            interrupted += unfinished;

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
        for (const auto& [durations, words, expected] : rows) {
            const QTemporaryDir folder;
            HistoryStore store(folder.path());
            for (const double duration : durations)
                store.insertFirst({{}, {}, "", duration});
            store.insertFirst({{}, {}, QByteArray("word\u00a0").repeated(words), 0});
            QCOMPARE(store.wordsPerMinute(), expected);
        }
    }

    // Beside Qt's own conversion of every single date, with every kind of change of the clock.
    void daysAreTheCalendars() {
        const auto restore = qScopeGuard([before = qgetenv("TZ")] { useZone(before); });
        for (const auto* const zone : {"UTC", "XYZ-3:30", "Europe/Berlin", "Asia/Tehran", "Pacific/Apia",
                                       "America/Sao_Paulo", "Australia/Lord_Howe", "nowhere at all"}) {
            useZone(zone);
            QList<Transcription> records{
                dictation("", QDateTime(QDate(1850, 6, 1), QTime(), QTimeZone::utc())),
                dictation("", QDateTime(QDate(2400, 7, 1), QTime(), QTimeZone::utc()))};
            for (qint64 quarter = 0; quarter < qint64{40} * 365 * 96; quarter += 5)
                records.append(dictation("", QDateTime::fromSecsSinceEpoch(quarter * 900, QTimeZone::utc())));
            QSet<QDate> days;
            for (const auto& record : records)
                days.insert(record.date.toTimeZone(QTimeZone::systemTimeZone()).date());
            QVERIFY2(distinctDays(records, QTimeZone::systemTimeZone()) == days.size(), zone);
        }
    }

private:
    void write(const QList<Transcription>& records) const {
        QVERIFY(QDir().mkpath(m_folder) && writeFile(m_file, encodeHistory(records)));
    }

    std::unique_ptr<QTemporaryDir> m_temporary;
    QString m_folder;
    QString m_file;
};

QTEST_GUILESS_MAIN(TestHistoryStore)
#include "tst_historystore.moc"
