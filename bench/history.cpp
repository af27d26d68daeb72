// Loading and saving a long history beside what the disk and the processor need for the same bytes, and what
// the main thread pays. Saves go to a temporary folder: set TMPDIR to the disk that is meant.  history
// [rounds]

#include "Measure.h"
#include "SomeHistory.h"
#include "base/PrivateFiles.h"
#include "history/HistoryArchive.h"
#include "history/HistoryDecoder.h"
#include "history/HistoryStore.h"
#include "history/HistoryTestData.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTimeZone>

#include <fcntl.h>
#include <simdjson.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <memory>

using namespace tavrik;
using namespace tavrik::bench;
using tavrik::test::encodeHistory;

namespace {

constexpr qint64 anySize = qint64{1} << 32;

Transcription newRecord() {
    return {QUuid::createUuid(), toTimestamp(QDateTime::currentDateTimeUtc()),
            "one more sentence for the history", 2.5};
}

void check(bool good, const char* what) {
    if (good)
        return;
    std::fprintf(stderr, "history: %s failed\n", what);
    std::exit(1);
}

// The least that keeps a file whole: its bytes in one write, synced, renamed. That the new name outlasts a
// power cut, as the history's does, takes a sync of the folder too.
void writeSynced(const QByteArray& bytes, const QString& folder, bool nameToo = false) {
    const auto temporary = QFile::encodeName(folder + "/floor.new");
    const auto path = QFile::encodeName(folder + "/floor");
    const int file = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    check(file >= 0, "open");
    check(::write(file, bytes.constData(), size_t(bytes.size())) == bytes.size(), "write");
    check(::fdatasync(file) == 0, "fdatasync");
    ::close(file);
    check(::rename(temporary.constData(), path.constData()) == 0, "rename");
    if (!nameToo)
        return;
    const int directory = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    check(directory >= 0 && ::fsync(directory) == 0, "syncing the folder");
    ::close(directory);
}

void benchSave(int count, int rounds) {
    const QTemporaryDir folder;
    auto records = someHistory(count);
    const auto bytes = encodeHistory(records);
    records.prepend(newRecord());
    std::vector<double> ours;
    std::vector<double> floor;
    std::vector<double> floorWithName;
    for (int i = 0; i < rounds; ++i) {
        floor.push_back(timed([&] { writeSynced(bytes, folder.path()); }));
        floorWithName.push_back(timed([&] { writeSynced(bytes, folder.path(), true); }));
        auto archive = std::make_unique<HistoryArchive>(folder.path());
        check(archive->takeContent().records.size() == (i == 0 ? 0 : count + 1), "loading");
        ours.push_back(timed([&] {
            archive->save(records);
            archive.reset();
        }));
    }
    std::printf("save after an add, %d records, %.1f MB: %.1f ms (floor %.1f ms, ratio %.2f; goal 1.8; floor "
                "with the "
                "folder synced %.1f ms, ratio %.2f)\n",
                count, double(bytes.size()) / 1e6, median(ours), median(floor), median(ours) / median(floor),
                median(floorWithName), median(ours) / median(floorWithName));
}

void benchLoad(int count, int rounds) {
    const QTemporaryDir folder;
    const auto path = folder.filePath("history.json");
    {
        QFile file(path);
        check(file.open(QIODevice::WriteOnly) && file.write(encodeHistory(someHistory(count))) > 0,
              "preparing");
    }
    std::vector<double> ours;
    std::vector<double> floor;
    for (int i = 0; i < rounds; ++i) {
        floor.push_back(timed([&] {
            const auto bytes = readRegularFile(path, anySize).value();
            check(simdjson::validate_utf8(bytes.constData(), size_t(bytes.size())), "validating");
        }));
        std::optional<QList<Transcription>> records;
        ours.push_back(timed([&] { records = readRegularFile(path, anySize).and_then(decodeHistory); }));
        check(records && records->size() == count, "decoding");
    }
    std::printf("load and validate, %d records: %.2f ms (floor %.2f ms, ratio %.2f; goal 4.5)\n", count,
                median(ours), median(floor), median(ours) / median(floor));
}

void benchMainThread(int count, int rounds) {
    const QTemporaryDir folder;
    {
        QFile file(folder.filePath("history.json"));
        check(file.open(QIODevice::WriteOnly) && file.write(encodeHistory(someHistory(count))) > 0,
              "preparing");
    }
    qputenv("TZ", "Europe/Berlin");
    tzset();
    HistoryStore store(folder.path());
    check(store.items().size() == count, "loading");
    std::vector<double> insertion;
    std::vector<double> insertionWhileSaving;
    std::vector<double> words;
    std::vector<double> rate;
    std::vector<double> days;
    qint64 used = 0;
    for (int i = 0; i < rounds; ++i) {
        const auto record = newRecord();
        insertion.push_back(timed([&] { store.insertFirst(record); }));
        insertionWhileSaving.push_back(timed([&] { store.insertFirst(record); }));
        words.push_back(timed([&] { check(store.totalWords() > count, "counting words"); }));
        rate.push_back(timed([&] { check(store.wordsPerMinute() > 0, "words per minute"); }));
        days.push_back(timed([&] { used = store.daysUsed(); }));
        store.waitUntilSaved();
    }
    const double all = median(words) + median(rate) + median(days);
    std::printf("the three figures after a change, %d records on %lld days: %.2f ms (words %.3f, rate %.2f, "
                "days %.2f; "
                "goal 2)\n",
                count, used, all, median(words), median(rate), median(days));
    std::printf(
        "main thread's share of an add, %d records: %.3f ms (worst of %d: %.2f ms), of another while that is "
        "saved: %.3f ms\n",
        count, median(insertion), rounds, worst(insertion), median(insertionWhileSaving));
}

} // namespace

int main(int argc, char* argv[]) {
    const QCoreApplication application(argc, argv);
    const auto arguments = QCoreApplication::arguments();
    const int rounds = std::max(9, arguments.value(1, QStringLiteral("15")).toInt());
    for (const int count : {10'000, 100'000})
        benchSave(count, rounds);
    for (const int count : {10'000, 100'000})
        benchLoad(count, rounds);
    benchMainThread(100'000, 2 * rounds);
}
