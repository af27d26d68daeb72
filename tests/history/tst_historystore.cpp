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
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <string_view>

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

} // namespace

class TestHistoryStore : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        m_temporary = std::make_unique<QTemporaryDir>();
        m_folder = m_temporary->filePath("data/Tavrik");
        m_file = m_folder + "/history.json";
    }

    void keepsToTheUser() {
        HistoryStore(m_folder).insertFirst(dictation("hello"));
        QCOMPARE(modeOf(m_folder), mode_t{0700});
        QCOMPARE(modeOf(m_file), mode_t{0600});
        QVERIFY(othersIn(m_folder).isEmpty());
        ::chmod(QFile::encodeName(m_file).constData(), 0644);
        ::chmod(QFile::encodeName(m_folder).constData(), 0755);
        QCOMPARE(HistoryStore(m_folder).items().at(0).text, "hello");
        QCOMPARE(modeOf(m_file), mode_t{0600});
        QCOMPARE(modeOf(m_folder), mode_t{0700});
    }

    // Of changes made while a save is under way, the next one writes all.
    void sortsStablyAndSavesWhatPilesUp() {
        auto records = numberedRecords(5000);
        for (int i = 20; i < 60; ++i)
            records[i].date = records.at(60).date;
        write(records.sliced(20) + records.first(20));
        {
            HistoryStore store(m_folder);
            QCOMPARE(store.items(), records);
            for (int i = 0; i < 300; ++i)
                store.remove(QUuid(store.items().at(i).id));
            records = store.items();
        }
        QCOMPARE(HistoryStore(m_folder).items(), records);
    }

    void removesEveryRecordOfTheId() {
        auto records = numberedRecords(8);
        for (const int copy : {2, 3, 6, 7})
            records[copy].id = records[0].id;
        write(records);
        HistoryStore store(m_folder);
        QSignalSpy removed(&store, &HistoryStore::removed);
        store.remove(records[0].id);
        QCOMPARE(removed.size(), 3);
        QCOMPARE(removed.first(), (QVariantList{qsizetype{6}, qsizetype{7}}));
        store.insertFirst(dictation("two words"));
        QCOMPARE(store.totalWords(), 5);
        QCOMPARE(store.items(), (QList{store.items().at(0), records[1], records[4], records[5]}));
    }

    // Where the file really is, if a symbolic link leads to it.
    void keepsAsideWhatItCannotDecode() {
        const QTemporaryDir synced;
        const auto target = synced.filePath("history.json");
        QVERIFY(QDir().mkpath(m_folder) && QFile::link(target, m_file));
        // One after the other, most likely within one second: none must take the other's name.
        const QByteArrayList broken{encodeHistory(numberedRecords(200)).replace("\"150\"", "150"), ""};
        for (const auto& content : broken) {
            QVERIFY(writeFile(target, content));
            HistoryStore store(m_folder);
            QCOMPARE(store.items().size(), 0);
            QCOMPARE(contentOf(target), content);
            store.insertFirst(dictation("new"));
            QTRY_COMPARE(contentOf(target), encodeHistory(store.items()));
        }
        const QDir::SortFlags largestFirst(QDir::Size);
        const auto aside =
            QDir(synced.path()).entryList({"history (unreadable *"}, QDir::Files, largestFirst);
        QCOMPARE(aside.size(), 2);
        for (int i = 0; i < 2; ++i) {
            QCOMPARE(contentOf(synced.filePath(aside[i])), broken[i]);
            QCOMPARE(modeOf(synced.filePath(aside[i])), mode_t{0600});
        }
    }

    void keepsAsideWhatSomebodyElseWrote() {
        HistoryStore store(m_folder);
        store.insertFirst(dictation("ours"));
        for (const char digit : std::string_view("12345")) {
            store.waitUntilSaved();
            // The clock of the disk ticks every few milliseconds.
            QThread::msleep(20);
            // As long as ours, and in the same file.
            const auto other = contentOf(m_file).replace("ours", "oth" + QByteArray(1, digit));
            QFile file(m_file);
            QVERIFY(file.open(QIODevice::ReadWrite) && file.write(other) == other.size());
            file.close();
            store.insertFirst(dictation("more"));
        }
        store.waitUntilSaved();
        QCOMPARE(contentOf(m_file), encodeHistory(store.items()));
        QByteArray kept;
        for (const auto& name : othersIn(m_folder))
            kept += contentOf(m_folder + '/' + name);
        for (const char digit : std::string_view("12345"))
            QCOMPARE(kept.contains("oth" + QByteArray(1, digit)), digit > '2');
    }

    void isNotHeldUpByWhatStandsInItsPlace() {
        QVERIFY(QDir().mkpath(m_folder));
        QCOMPARE(::mkfifo(QFile::encodeName(m_file).constData(), 0600), 0);
        HistoryStore(m_folder).insertFirst(dictation("new"));
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
        auto saved = numberedRecords(2000);
        write(saved);
        qsizetype interrupted = 0;
        for (int kill = 0; kill < 100; ++kill) {
            QProcess writer;
            writer.start(QStringLiteral(HISTORY_WRITER), {m_folder});
            QVERIFY(writer.waitForReadyRead());
            QThread::usleep(random.bounded(25'000));
            writer.kill();
            QVERIFY(writer.waitForFinished());
            interrupted += othersIn(m_folder).size();
            QVERIFY(interrupted <= kill + 1);
            // One whole state that continues the one before.
            const auto records = decodeHistory(contentOf(m_file)).value_or(QList<Transcription>());
            QVERIFY(records.size() >= saved.size() && records.last(saved.size()) == saved);
            saved = records;
        }
        QVERIFY2(saved.size() > 2000 && interrupted > 0, "no save was interrupted, or none was finished");
        QVERIFY(writeFile(m_folder + "/.history.json.unfinished-abcdef", "of a save long ago"));
        QCOMPARE(HistoryStore(m_folder).items(), saved);
        QCOMPARE(othersIn(m_folder), QStringList());
    }

    void wordsPerMinute() {
        const std::tuple<double, int, qint64> rows[]{
            {1.0, 100, 0}, {1.0 + 1e-9, 100, 6000}, {24, 1, 3}, {120.001, 1, 0}, {-60, 10, 0}};
        for (const auto& [duration, words, expected] : rows) {
            const QTemporaryDir folder;
            HistoryStore store(folder.path());
            store.insertFirst({{}, {}, QByteArray("word\u00a0").repeated(words), duration});
            QCOMPARE(store.wordsPerMinute(), expected);
        }
    }

    // Beside Qt's own conversion of every single date, with every kind of change of the clock.
    void daysAreTheCalendars() {
        for (const auto* const zone : {"UTC", "XYZ-3:30", "Europe/Berlin", "Asia/Tehran", "Pacific/Apia",
                                       "America/Sao_Paulo", "Australia/Lord_Howe", "nowhere at all"}) {
            qputenv("TZ", zone);
            tzset();
            QList<Transcription> records;
            QSet<QDate> days;
            for (qint64 quarter = 0; quarter < qint64{40} * 365 * 96; quarter += 5) {
                records << dictation("", QDateTime::fromSecsSinceEpoch(quarter * 900, QTimeZone::utc()));
                days << records.last().date.toTimeZone(QTimeZone::systemTimeZone()).date();
            }
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
