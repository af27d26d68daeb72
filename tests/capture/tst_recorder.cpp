#include "capture/LevelMeter.h"
#include "capture/Recorder.h"
#include "capture/WavFile.h"
#include "platform/Microphone.h"
#include "support/Files.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <sys/resource.h>

#include <cmath>
#include <csignal>
#include <numbers>
#include <thread>

using namespace tavrik;
using tavrik::test::contentOf;

namespace {

constexpr qsizetype headerSize = 44;

std::vector<qint16> ramp(std::size_t count, int first = 0) {
    std::vector<qint16> samples(count);
    for (auto& sample : samples)
        sample = static_cast<qint16>(first++);
    return samples;
}

// Speaks only when told to, on a thread of its own as a sound server would.
class FakeMicrophone final : public Microphone {
public:
    void requestAccess() override {}

    Result<std::unique_ptr<Capture>> start(Sink sink) override {
        if (!failure.isEmpty())
            return std::unexpected(Error{failure});
        m_sink = std::move(sink);
        return std::make_unique<FakeCapture>(*this);
    }

    void speak(const std::vector<qint16>& samples) {
        std::jthread([&] { m_sink(samples); });
    }

    QString failure;
    std::vector<qint16> heldAtStop;

private:
    class FakeCapture final : public Capture {
    public:
        explicit FakeCapture(FakeMicrophone& microphone) : m_microphone(microphone) {}
        void stop() override { m_microphone.speak(m_microphone.heldAtStop); }

    private:
        FakeMicrophone& m_microphone;
    };

    Sink m_sink;
};

QByteArray bytesOf(const std::vector<qint16>& samples) {
    return {reinterpret_cast<const char*>(samples.data()),
            static_cast<qsizetype>(samples.size() * sizeof(qint16))};
}

quint32 number(const QByteArray& wav, qsizetype offset) {
    return qFromLittleEndian<quint32>(wav.constData() + offset);
}

// While it lives no file of this process grows beyond `size`: the kernel cuts
// writes short as on a full disk.
class SmallDisk {
public:
    explicit SmallDisk(rlim_t size) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit small{.rlim_cur = size, .rlim_max = m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallDisk() { setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    rlimit m_before{};
};

// A take without a file where there was none, which no test takes for a good
// one.
AbstractRecorder::Take finish(AbstractRecorder& recorder) {
    return recorder.stop().value_or(AbstractRecorder::Take{});
}

float power(AbstractRecorder& recorder) {
    return recorder.averagePower().value_or(1);
}

} // namespace

class TestRecorder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void takeIsWav();
    void whatIsHeldAtStopIsKept();
    void takesHaveNamesOfTheirOwn();
    void stopWithoutStart();
    void secondStartAbandonsTheFirst();
    void failedStart_data();
    void failedStart();
    void failedStartKeepsTheRunningTake();
    void diskFillsMidTake_data();
    void diskFillsMidTake();
    void existingFileIsNotTouched();
    void unfinishedFileReachesToItsEnd();
    void level_data();
    void level();
    void levelFallsWhenNothingComes();

private:
    QStringList files() const { return QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden); }

    QTemporaryDir m_folder;
};

void TestRecorder::takeIsWav() {
    FakeMicrophone microphone;
    Recorder recorder(microphone, m_folder.path());
    QVERIFY(recorder.start());
    const auto samples = ramp(8000, -4000);
    microphone.speak(samples);
    const auto take = finish(recorder);

    QCOMPARE(take.duration, 0.5);
    const auto owner = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
    QCOMPARE(QFileInfo(take.file).permissions(), owner);
    const auto wav = contentOf(take.file);
    const auto header = QByteArray::fromHex("52494646 a43e0000 57415645"  // RIFF, 16036, WAVE
                                            "666d7420 10000000 0100 0100" // fmt, 16, PCM, mono
                                            "803e0000 007d0000 0200 1000" // 16000, 32000, 2, 16
                                            "64617461 803e0000");         // data, 16000
    QCOMPARE(wav.first(headerSize), header);
    QCOMPARE(wav.sliced(headerSize), bytesOf(samples));
    QVERIFY(QFile::remove(take.file));
}

void TestRecorder::whatIsHeldAtStopIsKept() {
    FakeMicrophone microphone;
    Recorder recorder(microphone, m_folder.path());
    QVERIFY(recorder.start());
    microphone.speak(ramp(1600));
    microphone.heldAtStop = ramp(160, 1600);
    const auto take = finish(recorder);
    QCOMPARE(take.duration, 0.11);
    QCOMPARE(contentOf(take.file).sliced(headerSize), bytesOf(ramp(1760)));
    QVERIFY(QFile::remove(take.file));
}

void TestRecorder::takesHaveNamesOfTheirOwn() {
    FakeMicrophone microphone;
    Recorder recorder(microphone, m_folder.path());
    const QRegularExpression name(QStringLiteral("^tavrik-[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\.wav$"));
    QSet<QString> names;
    for (int i = 0; i < 3; ++i) {
        QVERIFY(recorder.start());
        const QFileInfo file(finish(recorder).file);
        QCOMPARE(file.absolutePath(), QFileInfo(m_folder.path()).absoluteFilePath());
        QVERIFY2(name.match(file.fileName()).hasMatch(), qPrintable(file.fileName()));
        names.insert(file.fileName());
        QVERIFY(QFile::remove(file.filePath()));
    }
    QCOMPARE(names.size(), 3);
}

void TestRecorder::stopWithoutStart() {
    FakeMicrophone microphone;
    Recorder recorder(microphone, m_folder.path());
    QVERIFY(!recorder.stop());
    QVERIFY(!recorder.averagePower());
    QVERIFY(recorder.start());
    QVERIFY(recorder.averagePower());
    QVERIFY(QFile::remove(finish(recorder).file));
    QVERIFY(!recorder.stop());
    QVERIFY(!recorder.averagePower());
    QCOMPARE(files(), {});
}

void TestRecorder::secondStartAbandonsTheFirst() {
    FakeMicrophone microphone;
    Recorder recorder(microphone, m_folder.path());
    QVERIFY(recorder.start());
    const auto first = m_folder.filePath(files().value(0));
    microphone.speak(ramp(100));
    QVERIFY(recorder.start());
    QCOMPARE(number(contentOf(first), 40), 200u);
    const auto take = finish(recorder);
    QVERIFY(take.file != first);
    QVERIFY(QFile::remove(first) && QFile::remove(take.file));
}

void TestRecorder::failedStart_data() {
    QTest::addColumn<QString>("folder");
    QTest::addColumn<bool>("microphoneFails");
    QTest::addColumn<int>("diskSize");
    QTest::addColumn<QString>("description");
    QTest::newRow("no folder") << QStringLiteral("missing") << false << -1 << "No such file or directory";
    QTest::newRow("folder is a file") << QStringLiteral("plain/file") << false << -1 << "Not a directory";
    QTest::newRow("no room for the header") << QString() << false << 10 << "File too large";
    QTest::newRow("no microphone") << QString() << true << -1 << "No microphone was found.";
}

void TestRecorder::failedStart() {
    QFETCH(QString, folder);
    QFETCH(bool, microphoneFails);
    QFETCH(int, diskSize);
    QTemporaryDir place;
    QFile plain(place.filePath(QStringLiteral("plain")));
    QVERIFY(plain.open(QIODevice::WriteOnly));

    FakeMicrophone microphone;
    if (microphoneFails)
        microphone.failure = QStringLiteral("No microphone was found.");
    Recorder recorder(microphone, place.filePath(folder));
    const auto started = [&] {
        const auto disk = diskSize < 0 ? nullptr : std::make_unique<SmallDisk>(diskSize);
        return recorder.start();
    }();
    QVERIFY(!started);
    QTEST(started.error().description, "description");
    QVERIFY(!recorder.stop());
    QCOMPARE(QDir(place.path()).entryList(QDir::Files | QDir::Hidden), {QStringLiteral("plain")});
}

void TestRecorder::failedStartKeepsTheRunningTake() {
    FakeMicrophone microphone;
    Recorder recorder(microphone, m_folder.path());
    QVERIFY(recorder.start());
    microphone.speak(ramp(160));
    microphone.failure = QStringLiteral("Busy");
    QVERIFY(!recorder.start());
    microphone.speak(ramp(160, 160));
    const auto take = finish(recorder);
    QCOMPARE(contentOf(take.file).sliced(headerSize), bytesOf(ramp(320)));
    QVERIFY(QFile::remove(take.file));
    QCOMPARE(files(), {});
}

void TestRecorder::diskFillsMidTake_data() {
    QTest::addColumn<int>("room"); // for samples, in bytes
    QTest::newRow("between two writes") << 640;
    QTest::newRow("within a write") << 700;
    QTest::newRow("within a sample") << 701;
}

void TestRecorder::diskFillsMidTake() {
    QFETCH(int, room);
    FakeMicrophone microphone;
    Recorder recorder(microphone, m_folder.path());
    QVERIFY(recorder.start());
    AbstractRecorder::Take take;
    {
        const SmallDisk disk(headerSize + room);
        for (int i = 0; i < 100; ++i)
            microphone.speak(ramp(160, i * 160));
        take = finish(recorder);
    }
    QCOMPARE(take.duration, 1.0);
    const auto wav = contentOf(take.file);
    const auto kept = static_cast<std::size_t>(room) / 2;
    QCOMPARE(wav.sliced(headerSize), bytesOf(ramp(kept)));
    QCOMPARE(number(wav, 40), kept * 2);
    QCOMPARE(number(wav, 4), kept * 2 + 36);
    QVERIFY(QFile::remove(take.file));
}

void TestRecorder::existingFileIsNotTouched() {
    const auto path = m_folder.filePath(QStringLiteral("taken.wav"));
    QVERIFY(QFile::link(m_folder.filePath(QStringLiteral("target")), path));
    QVERIFY(!WavFile::create(path));
    QVERIFY(!QFile::exists(m_folder.filePath(QStringLiteral("target"))));
    QVERIFY(QFile::remove(path));
}

void TestRecorder::unfinishedFileReachesToItsEnd() {
    const auto path = m_folder.filePath(QStringLiteral("unfinished.wav"));
    auto file = WavFile::create(path);
    QVERIFY(file);
    (*file)->append(ramp(160));
    const auto wav = contentOf(path);
    QCOMPARE(wav.sliced(headerSize), bytesOf(ramp(160)));
    QCOMPARE(number(wav, 4), 0xffffffffu);
    QCOMPARE(number(wav, 40), 0xffffffffu);
    (*file)->discard();
    QVERIFY(!QFile::exists(path));
}

void TestRecorder::level_data() {
    QTest::addColumn<double>("amplitude"); // of a 400 Hz sine, 1 at full scale
    QTest::addColumn<int>("quietSamples"); // after it
    QTest::addColumn<float>("expected");
    QTest::newRow("silence") << 0.0 << 0 << LevelMeter::silence;
    QTest::newRow("full scale") << 1.0 << 0 << -3.01F;
    QTest::newRow("a tenth") << 0.1 << 0 << -23.01F;
    QTest::newRow("quiet room") << 0.003 << 0 << -53.47F;
    QTest::newRow("tone leaving the window") << 1.0 << 480 << -6.99F;
    QTest::newRow("tone gone") << 1.0 << 800 << LevelMeter::silence;
}

void TestRecorder::level() {
    QFETCH(double, amplitude);
    QFETCH(int, quietSamples);
    FakeMicrophone microphone;
    Recorder recorder(microphone, m_folder.path());
    QVERIFY(recorder.start());
    QCOMPARE(power(recorder), LevelMeter::silence);

    std::vector<qint16> samples(1600);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<qint16>(std::lround(
            amplitude * 32767 * std::sin(2 * std::numbers::pi * 400 * static_cast<double>(i) / 16000)));
    samples.resize(samples.size() + static_cast<std::size_t>(quietSamples));
    // In pieces that do not divide the window, as a sound server may hand them
    // out.
    for (auto piece = samples.begin(); piece != samples.end();) {
        const auto end = piece + std::min<std::ptrdiff_t>(77, samples.end() - piece);
        microphone.speak({piece, end});
        piece = end;
    }
    QFETCH(float, expected);
    const auto measured = power(recorder);
    QVERIFY2(std::abs(measured - expected) < 0.6F, qPrintable(QString::number(measured)));
    QVERIFY(QFile::remove(finish(recorder).file));
}

void TestRecorder::levelFallsWhenNothingComes() {
    LevelMeter meter;
    meter.add(std::vector<qint16>(800, 10000));
    QTRY_COMPARE(meter.averagePower(), LevelMeter::silence);
}

QTEST_GUILESS_MAIN(TestRecorder)
#include "tst_recorder.moc"
