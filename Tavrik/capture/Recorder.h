#pragma once

#include "capture/AbstractRecorder.h"

#include <memory>

namespace tavrik {

class Microphone;

/// Records the default microphone into a new WAV file per take: 16 kHz, mono, 16 bits, readable by its owner
/// only.
class Recorder final : public AbstractRecorder {
public:
    /// The microphone must outlive the recorder. The folder must exist when a take starts.
    Recorder(Microphone& microphone, QString temporaryFolder);
    ~Recorder() override;

    /// Within 100 ms. Fails with the file's or the microphone's error, and then leaves no file. A take that
    /// is still running is abandoned; its file stays.
    Result<void> start() override;

    /// The duration counts all captured samples, including those a full disk had no room for.
    std::optional<Take> stop() override;

    std::optional<float> averagePower() override;

    /// Stops a take that is running, and deletes the file of the latest one, whoever still wants it.
    void removeLatest();

private:
    struct RunningTake;

    Microphone& m_microphone;
    QString m_folder;
    QString m_latest; // the file of the latest take, which may be gone
    std::unique_ptr<RunningTake> m_take;
};

} // namespace tavrik
