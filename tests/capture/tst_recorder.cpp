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

struct Desk {
    const QTemporaryDir folder;
    FakeMicrophone microphone;
    Recorder recorder{microphone, folder.path()};

    // A take without a file where there was none, which no test takes for a good one.
    AbstractRecorder::Take finish() { return recorder.stop().value_or(AbstractRecorder::Take{}); }
    QStringList files() const { return QDir(folder.path()).entryList(QDir::Files | QDir::Hidden); }
};

float power(AbstractRecorder& recorder) {
    return recorder.averagePower().value_or(1);
}

// What a start says that must not succeed.
QString refusal(AbstractRecorder& recorder) {
    const auto started = recorder.start();
    return started ? QString() : started.error().description;
}

} // namespace

class TestRecorder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void takeIsWav();
    void failedStart();
    void diskFillsMidTake_data();
    void diskFillsMidTake();
    void existingFileIsNotTouched();
    void level_data();
    void level();
    void levelFallsWhenNothingComes();
};

void TestRecorder::takeIsWav() {
    Desk desk;
    QVERIFY(desk.recorder.start());
    const auto samples = ramp(8000, -4000);
    desk.microphone.speak({samples.begin(), samples.end() - 160});
    desk.microphone.heldAtStop = {samples.end() - 160, samples.end()};
    const auto take = desk.finish();

    QCOMPARE(take.duration, 0.5);
    const QRegularExpression name(QStringLiteral("^tavrik-[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\.wav$"));
    QVERIFY2(name.match(QFileInfo(take.file).fileName()).hasMatch(), qPrintable(take.file));
    const auto owner = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
    QCOMPARE(QFileInfo(take.file).permissions(), owner);
    const auto wav = contentOf(take.file);
    const auto header = QByteArray::fromHex("52494646 a43e0000 57415645"  // RIFF, 16036, WAVE
                                            "666d7420 10000000 0100 0100" // fmt, 16, PCM, mono
                                            "803e0000 007d0000 0200 1000" // 16000, 32000, 2, 16
                                            "64617461 803e0000");         // data, 16000
    QCOMPARE(wav.first(headerSize), header);
    QCOMPARE(wav.sliced(headerSize), bytesOf(samples));
    QVERIFY(!desk.recorder.averagePower());
    QVERIFY(!desk.recorder.stop());
}

void TestRecorder::failedStart() {
    Desk desk;
    Recorder nowhere(desk.microphone, desk.folder.filePath(QStringLiteral("missing")));
    QCOMPARE(refusal(nowhere), "No such file or directory");
    {
        const SmallDisk noRoomForTheHeader(10);
        QCOMPARE(refusal(desk.recorder), "File too large");
    }
    desk.microphone.failure = QStringLiteral("No microphone was found.");
    QCOMPARE(refusal(desk.recorder), desk.microphone.failure);
    QVERIFY(!desk.recorder.stop());
    QCOMPARE(desk.files(), {});
}

void TestRecorder::diskFillsMidTake_data() {
    QTest::addColumn<int>("room"); // for samples, in bytes
    QTest::newRow("between two writes") << 640;
    QTest::newRow("within a sample") << 701;
}

void TestRecorder::diskFillsMidTake() {
    QFETCH(int, room);
    Desk desk;
    QVERIFY(desk.recorder.start());
    AbstractRecorder::Take take;
    {
        const SmallDisk disk(headerSize + room);
        for (int i = 0; i < 100; ++i)
            desk.microphone.speak(ramp(160, i * 160));
        take = desk.finish();
    }
    QCOMPARE(take.duration, 1.0);
    const auto wav = contentOf(take.file);
    const auto kept = static_cast<std::size_t>(room) / 2;
    QCOMPARE(wav.sliced(headerSize), bytesOf(ramp(kept)));
    QCOMPARE(number(wav, 40), kept * 2);
    QCOMPARE(number(wav, 4), kept * 2 + 36);
}

void TestRecorder::existingFileIsNotTouched() {
    const QTemporaryDir folder;
    const auto path = folder.filePath(QStringLiteral("taken.wav"));
    QVERIFY(QFile::link(folder.filePath(QStringLiteral("target")), path));
    QVERIFY(!WavFile::create(path));
    QVERIFY(!QFile::exists(folder.filePath(QStringLiteral("target"))));
}

void TestRecorder::level_data() {
    QTest::addColumn<double>("amplitude"); // of a 400 Hz sine, 1 at full scale
    QTest::addColumn<int>("quietSamples"); // after it
    QTest::addColumn<float>("expected");
    QTest::newRow("full scale") << 1.0 << 0 << -3.01F;
    QTest::newRow("quiet room") << 0.003 << 0 << -53.47F;
    QTest::newRow("tone leaving the window") << 1.0 << 480 << -6.99F;
}

void TestRecorder::level() {
    QFETCH(double, amplitude);
    QFETCH(int, quietSamples);
    Desk desk;
    QVERIFY(desk.recorder.start());
    QCOMPARE(power(desk.recorder), LevelMeter::silence);

    std::vector<qint16> samples(1600);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<qint16>(std::lround(
            amplitude * 32767 * std::sin(2 * std::numbers::pi * 400 * static_cast<double>(i) / 16000)));
    samples.resize(samples.size() + static_cast<std::size_t>(quietSamples));
    // In pieces that do not divide the window, as a sound server may hand them
    // out.
    for (auto piece = samples.begin(); piece != samples.end();) {
        const auto end = piece + std::min<std::ptrdiff_t>(77, samples.end() - piece);
        desk.microphone.speak({piece, end});
        piece = end;
    }
    QFETCH(float, expected);
    const auto measured = power(desk.recorder);
    QVERIFY2(std::abs(measured - expected) < 0.6F, qPrintable(QString::number(measured)));
}

void TestRecorder::levelFallsWhenNothingComes() {
    LevelMeter meter;
    meter.add(std::vector<qint16>(800, 10000));
    QTRY_COMPARE(meter.averagePower(), LevelMeter::silence);
}

QTEST_GUILESS_MAIN(TestRecorder)
#include "tst_recorder.moc"
