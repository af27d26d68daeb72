#include "base/FileLock.h"
#include "history/HistoryDecoder.h"
#include "history/HistoryStore.h"
#include "history/HistoryTestData.h"
#include "history/LocalDays.h"
#include "support/Files.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <ctime>
#include <string_view>
#include <thread>

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
        QVERIFY(writeFile(m_folder + "/.history.json.unfinished-abcdef", "of a program that was killed"));
        QCOMPARE(HistoryStore(m_folder).items().at(0).text, "hello");
        QVERIFY(othersIn(m_folder).isEmpty());
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
        store.remove(records[0].id);
        store.insertFirst(dictation("two words"));
        QCOMPARE(store.totalWords(), 5);
        QCOMPARE(store.items(), (QList{store.items().at(0), records[1], records[4], records[5]}));
    }

    void keepsAsideWhatItCannotDecode() {
        QVERIFY(QDir().mkpath(m_folder));
        // One after the other, most likely within one second: none must take the other's name.
        const QByteArrayList broken{encodeHistory(numberedRecords(200)).replace("\"150\"", "150"), ""};
        for (const auto& content : broken) {
            QVERIFY(writeFile(m_file, content));
            HistoryStore store(m_folder);
            QCOMPARE(store.items().size(), 0);
            QCOMPARE(contentOf(m_file), content);
            store.insertFirst(dictation("new"));
            store.waitUntilSaved();
            QCOMPARE(contentOf(m_file), encodeHistory(store.items()));
        }
        QByteArrayList aside;
        for (const auto& name : othersIn(m_folder).filter("history (unreadable "))
            aside << contentOf(m_folder + '/' + name);
        QVERIFY(aside.size() == 2 && aside.contains(broken[0]) && aside.contains(broken[1]));
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
        store.waitUntilSaved();
        QVERIFY(QFileInfo(m_file).isDir() && store.saveError());
    }

    void leavesTheOldFileWhenTheDiskIsFull() {
        const auto records = numberedRecords(10);
        write(records);
        limitFileSizes(rlim_t{300} * 1024);
        HistoryStore store(m_folder);
        store.insertFirst(dictation(QByteArray(qsizetype{400} * 1024, 'x')));
        store.waitUntilSaved();
        limitFileSizes(RLIM_INFINITY);
        QCOMPARE(contentOf(m_file), encodeHistory(records));
        QVERIFY(othersIn(m_folder).isEmpty());
        QCOMPARE(store.saveError().value_or(Error{}).description, "File too large");
        // The next change writes all.
        store.insertFirst(dictation("two"));
        store.waitUntilSaved();
        QCOMPARE(contentOf(m_file), encodeHistory(store.items()));
        QVERIFY(!store.saveError());
    }

    // The kernel refuses every lock of this thread, and of those that it starts, as some network disks do.
    void savesWhereTheDiskKnowsNoLocks() {
        bool refused = false;
        bool held = false;
        std::jthread([&] {
            sock_filter rules[]{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                                BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_flock, 0, 1),
                                BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOLCK),
                                BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
            const sock_fprog filter{std::size(rules), rules};
            ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
            ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter);
            refused = ::flock(STDERR_FILENO, LOCK_SH) != 0 && errno == ENOLCK;
            HistoryStore(m_folder).insertFirst(dictation("hello"));
            held = FileLock(m_folder + "/.lock", std::chrono::milliseconds(0)).isHeld();
        }).join();
        QVERIFY(refused && held);
        QCOMPARE(HistoryStore(m_folder).items().at(0).text, "hello");
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
            const auto timeZone = QTimeZone::systemTimeZone();
            QList<Transcription> records;
            QSet<QDate> days;
            for (qint64 quarter = 0; quarter < qint64{40} * 365 * 96; quarter += 5) {
                const auto moment = QDateTime::fromSecsSinceEpoch(quarter * 900, QTimeZone::utc());
                records << dictation("", moment);
                days << moment.toTimeZone(timeZone.isValid() ? timeZone : QTimeZone::utc()).date();
            }
            QVERIFY2(distinctDays(records, timeZone) == days.size(), zone);
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
