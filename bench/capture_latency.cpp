// How much of what is spoken while the key is held gets into the file, and how soon. Needs a sound server
// whose default source hears the sink "vmic", as the virtual desktop's does:  tests/desktop/on-desktop
// capture_latency [takes]

#include "Measure.h"
#include "Programs.h"
#include "capture/Recorder.h"
#include "platform/Microphone.h"
#include "platform/linux/PulseConnection.h"
#include "platform/linux/PulseMicrophone.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>

using namespace tavrik;
using namespace tavrik::bench;

namespace {

/// Notes when the recorder has written its first and its last samples.
class TimedMicrophone final : public Microphone {
public:
    explicit TimedMicrophone(Microphone& microphone) : m_microphone(microphone) {}

    ServiceStatus status() const override { return m_microphone.status(); }
    void requestAccess() override { m_microphone.requestAccess(); }

    Result<std::unique_ptr<Capture>> start(Sink sink) override {
        first = last = {};
        return m_microphone.start([this, sink = std::move(sink)](auto samples) {
            sink(samples);
            last = Clock::now();
            if (first == Clock::time_point{})
                first = last;
        });
    }

    // Of the take that has just ended.
    Clock::time_point first;
    Clock::time_point last;

private:
    Microphone& m_microphone;
};

/// From exec to the first byte on its output.
double timePeer() {
    Process parec;
    return timed([&] {
        parec.start("parec", {"--latency-msec=20", "--rate=16000", "--channels=1", "--format=s16le"});
        parec.waitForReadyRead(5000);
    });
}

/// The length of the tone in the file, and of the silence before and after it, in milliseconds.
struct Heard {
    double before = 0;
    double tone = 0;
    double after = 0;
};

Heard listen(const QString& path) {
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    const auto bytes = file.readAll().sliced(44);
    std::vector<qint16> samples(static_cast<std::size_t>(bytes.size()) / sizeof(qint16));
    std::memcpy(samples.data(), bytes.constData(), samples.size() * sizeof(qint16));
    const auto loud = [](qint16 sample) {
        return std::abs(sample) > 500;
    };
    const auto first = std::ranges::find_if(samples, loud) - samples.begin();
    const auto end = std::find_if(samples.rbegin(), samples.rend(), loud).base() - samples.begin();
    const auto perSample = 1000.0 / Microphone::sampleRate;
    return {static_cast<double>(first) * perSample, static_cast<double>(end - first) * perSample,
            static_cast<double>(static_cast<std::ptrdiff_t>(samples.size()) - end) * perSample};
}

void wait(int ms) {
    QThread::msleep(static_cast<unsigned long>(ms));
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    const int takes = argc > 1 ? std::max(1, QByteArray(argv[1]).toInt()) : 40;

    // With this latency the virtual device works in blocks of about 10 ms, like a sound card that was asked
    // for that. Idle it works in blocks of 50 ms.
    Process tone;
    Process player;
    tone.setStandardOutputProcess(&player);
    tone.start("sox", {"-q", "-n", "-t", "raw", "-r", "48000", "-c", "2", "-b", "16", "-e", "signed", "-",
                       "synth", "sine", "440", "vol", "0.5"});
    player.start("pacat", {"--raw", "--rate=48000", "--channels=2", "--format=s16le", "--latency-msec=30",
                           "--device=vmic"});
    wait(1000);

    PulseMicrophone real(std::make_shared<PulseConnection>());
    real.requestAccess();
    TimedMicrophone microphone(real);
    const QTemporaryDir folder;
    Recorder recorder(microphone, folder.path());
    wait(200);

    std::vector<double> first, peer, missing, silence, last, stopped;
    std::mt19937 random(1);
    std::uniform_int_distribution holds(450, 750);
    std::uniform_int_distribution pauses(100, 200);
    for (int i = 0; i < takes; ++i) {
        // The server works in blocks of time: each start must meet them at a moment of its own.
        wait(pauses(random));
        peer.push_back(timePeer());
        wait(pauses(random));
        const auto down = Clock::now();
        if (const auto started = recorder.start(); !started) {
            std::fprintf(stderr, "%s\n", qUtf8Printable(started.error().description));
            return 1;
        }
        wait(holds(random));
        const auto up = Clock::now();
        const auto file = recorder.stop().value_or(AbstractRecorder::Take{}).file;
        const auto done = Clock::now();

        first.push_back(milliseconds(microphone.first - down));
        last.push_back(std::max(0.0, milliseconds(microphone.last - up)));
        stopped.push_back(milliseconds(done - up));
        const auto heard = listen(file);
        missing.push_back(milliseconds(up - down) - heard.tone);
        silence.push_back(heard.before + heard.after);
        QFile::remove(file);
    }

    if (!recorder.start())
        return 1;
    const double processor = processorPercent(std::chrono::seconds(10));
    recorder.stop();

    std::printf("key down to first sample in the file: %.1f ms median, %.1f worst (parec %.1f, ratio %.2f; "
                "goal 20 and 0.5)\n",
                median(first), worst(first), median(peer), median(first) / median(peer));
    std::printf("missing of a continuous tone, both ends: %.1f ms median, %.1f worst, silence within %.1f "
                "worst (goal 15)\n",
                median(missing), worst(missing), worst(silence));
    std::printf("key up to last sample in the file: %.1f ms median, %.1f worst (goal 12)\n", median(last),
                worst(last));
    std::printf("key up to file finished: %.1f ms median, %.1f worst (goal 12)\n", median(stopped),
                worst(stopped));
    std::printf("processor while recording: %.2f %% of a core (goal 3 with the panel)\n", processor);
    return 0;
}
