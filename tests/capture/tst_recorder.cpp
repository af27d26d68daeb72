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

#include <numeric>
#include <thread>

using namespace tavrik;
using namespace Qt::StringLiterals;
using namespace tavrik::test;

namespace {

std::vector<qint16> ramp(int count) {
    std::vector<qint16> samples(static_cast<std::size_t>(count));
    std::iota(samples.begin(), samples.end(), qint16{-4000});
    return samples;
}

QByteArray bytesOf(std::span<const qint16> samples) {
    return {reinterpret_cast<const char*>(samples.data()), static_cast<qsizetype>(samples.size_bytes())};
}

QString startError(AbstractRecorder& recorder) {
    const auto result = recorder.start();
    return result ? QString() : result.error().description;
}

/// Delivers samples only when told to, on a thread of its own as a sound server would.
struct FakeMicrophone final : Microphone {
    struct FakeCapture final : Capture {
        explicit FakeCapture(FakeMicrophone& owner) : microphone(owner) {}
        Result<void> stop() override {
            microphone.deliver(microphone.deliveredAtStop);
            return microphone.outcome;
        }
        FakeMicrophone& microphone;
    };

    ServiceStatus status() const override { return {}; }
    void requestAccess() override {}
    Result<std::unique_ptr<Capture>> start(Sink newSink) override {
        if (isMissing)
            return std::unexpected(Error{u"No microphone was found."_s});
        sink = std::move(newSink);
        return std::make_unique<FakeCapture>(*this);
    }
    void deliver(std::span<const qint16> samples) {
        std::jthread([&] { sink(samples); });
    }

    bool isMissing = false;
    Sink sink;
    std::vector<qint16> deliveredAtStop;
    Result<void> outcome;
};

} // namespace

class TestRecorder : public QObject {
    Q_OBJECT

    const QTemporaryDir m_folder;
    FakeMicrophone m_microphone;
    Recorder m_recorder{m_microphone, m_folder.path()};

private Q_SLOTS:
    void failedStartLeavesNothing() {
        Recorder nowhere(m_microphone, m_folder.filePath(u"missing"_s));
        QCOMPARE(startError(nowhere), u"No such file or directory"_s);
        limitFileSizes(10); // no room for the header
        const auto error = startError(m_recorder);
        limitFileSizes(RLIM_INFINITY);
        QCOMPARE(error, u"File too large"_s);
        m_microphone.isMissing = true;
        QCOMPARE(startError(m_recorder), u"No microphone was found."_s);
        m_microphone.isMissing = false;
        QVERIFY(!m_recorder.stop());
        QCOMPARE(QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList());

        const auto target = m_folder.filePath(u"target"_s);
        QVERIFY(QFile::link(target, target + u".wav"_s));
        QVERIFY(!WavFile::create(target + u".wav"_s) && !QFile::exists(target));
    }

    void takeIsWav() {
        QVERIFY(m_recorder.start());
        const auto samples = ramp(8000);
        m_microphone.deliver(std::span(samples).first(7840));
        m_microphone.deliveredAtStop = {samples.begin() + 7840, samples.end()};
        m_microphone.outcome = std::unexpected(Error{u"Gone."_s});
        QTest::qSleep(20);
        const auto take = m_recorder.stop().value_or(AbstractRecorder::Take{});
        m_microphone.deliveredAtStop.clear();
        m_microphone.outcome = {};

        QCOMPARE(take.duration, 0.5);
        const QRegularExpression name(u"^tavrik-[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\.wav$"_s);
        QVERIFY2(name.match(QFileInfo(take.file).fileName()).hasMatch(), qPrintable(take.file));
        QCOMPARE(QFileInfo(take.file).permissions().toInt(), 0x6600);         // the owner's alone
        const auto header = QByteArray::fromHex("52494646 a43e0000 57415645"  // RIFF, 16036, WAVE
                                                "666d7420 10000000 0100 0100" // fmt, 16, PCM, mono
                                                "803e0000 007d0000 0200 1000" // 16000, 32000, 2, 16
                                                "64617461 803e0000");         // data, 16000
        QCOMPARE(contentOf(take.file), header + bytesOf(samples));
        QCOMPARE(take.interruption, u"Gone."_s);
        QVERIFY(take.elapsed >= 0.02 && take.elapsed < 10);
        QVERIFY(!m_recorder.averagePower());
        QVERIFY(!m_recorder.stop());
    }

    void fullDiskKeepsWholeSamples() {
        for (const int room : {640, 701}) {
            QVERIFY(m_recorder.start());
            limitFileSizes(44 + static_cast<rlim_t>(room));
            for (int i = 0; i < 25; ++i)
                m_microphone.deliver(ramp(320));
            const auto take = m_recorder.stop().value_or(AbstractRecorder::Take{});
            limitFileSizes(RLIM_INFINITY);
            QCOMPARE(take.duration, 0.5);
            QCOMPARE(take.interruption, u"File too large."_s);
            const auto wav = contentOf(take.file);
            const auto kept = bytesOf(ramp(320)).repeated(2).first(room & ~1);
            QCOMPARE(wav.sliced(44), kept);
            QCOMPARE(qFromLittleEndian<quint32>(wav.constData() + 40), kept.size());
            QCOMPARE(qFromLittleEndian<quint32>(wav.constData() + 4), kept.size() + 36);
        }
    }

    void level() {
        for (const auto& [sample, silentSamples, expected] :
             {std::tuple{32767, 0, 0.0F}, {98, 0, -50.5F}, {32767, 480, -4.0F}, {0, 0, -160.0F}}) {
            QVERIFY(m_recorder.start());
            QCOMPARE(m_recorder.averagePower(), LevelMeter::silence);
            std::vector<qint16> samples(1600, static_cast<qint16>(sample));
            samples.resize(1600 + static_cast<std::size_t>(silentSamples));
            // In pieces that do not divide the window, as a sound server may hand them out.
            for (std::span rest(samples); !rest.empty(); rest = rest.subspan(std::min(rest.size(), 77UL)))
                m_microphone.deliver(rest.first(std::min(rest.size(), 77UL)));
            const float measured = m_recorder.averagePower().value_or(1);
            QVERIFY2(std::abs(measured - expected) < 0.1F, qPrintable(QString::number(measured)));
            // Nothing comes any more.
            QTRY_COMPARE(m_recorder.averagePower(), LevelMeter::silence);
            QCOMPARE(m_recorder.stop().value_or(AbstractRecorder::Take{}).isSilent, sample == 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestRecorder)
#include "tst_recorder.moc"
