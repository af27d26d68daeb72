#include "capture/Recorder.h"

#include "capture/LevelMeter.h"
#include "capture/TakeFiles.h"
#include "capture/WavFile.h"
#include "platform/Microphone.h"

#include <QElapsedTimer>
#include <QFile>

#include <utility>

namespace tavrik {

struct Recorder::RunningTake {
    explicit RunningTake(std::unique_ptr<WavFile> wav) : file(std::move(wav)) {}

    // On the microphone's thread. Once the capture has stopped, the main thread owns the file and the count
    // again.
    void add(std::span<const qint16> samples) {
        file->append(samples);
        count += samples.size();
        meter.add(samples);
    }

    std::unique_ptr<WavFile> file;
    LevelMeter meter;
    std::size_t count = 0;
    QElapsedTimer clock;
    std::unique_ptr<Microphone::Capture> capture; // destroyed first, since it feeds the others
};

Recorder::Recorder(Microphone& microphone, QString temporaryFolder)
    : m_microphone(microphone), m_folder(std::move(temporaryFolder)) {}

Recorder::~Recorder() = default;

Result<void> Recorder::start() {
    auto file = WavFile::create(newTakePath(m_folder));
    if (!file)
        return std::unexpected(std::move(file.error()));

    auto take = std::make_unique<RunningTake>(std::move(*file));
    auto capture = m_microphone.start([take = take.get()](auto samples) { take->add(samples); });
    if (!capture) {
        take->file->discard();
        return std::unexpected(std::move(capture.error()));
    }
    take->capture = std::move(*capture);
    take->clock.start();
    m_latest = take->file->path();
    m_take = std::move(take);
    return {};
}

std::optional<AbstractRecorder::Take> Recorder::stop() {
    const auto take = std::exchange(m_take, nullptr);
    if (!take)
        return std::nullopt;
    const auto elapsed = static_cast<double>(take->clock.elapsed()) / 1000;
    const auto captured = take->capture->stop();
    const auto written = take->file->finish();
    const std::shared_ptr<const WavFile> file = std::move(take->file);
    return Take{.file = file->path(),
                .duration = static_cast<double>(take->count) / Microphone::sampleRate,
                .lock = file,
                .elapsed = elapsed,
                .isSilent = take->meter.isSilent(),
                .interruption = !written    ? written.error().description
                                : !captured ? captured.error().description
                                            : QString()};
}

void Recorder::removeLatest() {
    stop();
    if (!m_latest.isEmpty())
        QFile::remove(m_latest);
}

std::optional<float> Recorder::averagePower() {
    if (!m_take)
        return std::nullopt;
    return m_take->meter.averagePower();
}

} // namespace tavrik
