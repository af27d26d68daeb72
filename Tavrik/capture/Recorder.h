#pragma once

#include "capture/AbstractRecorder.h"

#include <memory>

namespace tavrik {

class Microphone;

/// Records the default microphone into a new WAV file per take: 16 kHz, mono, 16 bits, readable by its owner
/// only.
class Recorder final : public AbstractRecorder {
public:
    /// The microphone must outlive the recorder. The folder is where the takes go; it must exist by the time
    /// of one.
    Recorder(Microphone& microphone, QString temporaryFolder);
    ~Recorder() override;

    /// Fails with the reason why there is no file or no microphone, and leaves no file then. A take that is
    /// still running is abandoned; its file stays.
    Result<void> start() override;

    /// The duration counts the samples that came, also those a full disk had no room for.
    std::optional<Take> stop() override;

    std::optional<float> averagePower() override;

private:
    struct RunningTake;

    Microphone& m_microphone;
    QString m_folder;
    std::unique_ptr<RunningTake> m_take;
};

} // namespace tavrik
