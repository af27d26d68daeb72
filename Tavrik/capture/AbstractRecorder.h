#pragma once

#include "base/Result.h"

#include <QString>

#include <memory>
#include <optional>

namespace tavrik {

/// Records one take at a time. Main thread only.
class AbstractRecorder {
public:
    /// A finished recording; the file is the caller's to delete.
    struct Take {
        QString file;
        /// Seconds of sound.
        double duration = 0;
        /// Marks the file as in use; to be kept as long as the file is.
        std::shared_ptr<const void> lock = {};
        /// Seconds from start() to stop() by the clock.
        double elapsed = 0;
        /// Whether every sample is zero, as a muted microphone's are.
        bool isSilent = false;
        /// Why the recording ended before stop(), a sentence for the user; empty if it did not.
        QString interruption = {};
    };

    AbstractRecorder() = default;
    AbstractRecorder(const AbstractRecorder&) = delete;
    AbstractRecorder& operator=(const AbstractRecorder&) = delete;
    virtual ~AbstractRecorder() = default;

    /// Begins a recording into a new temporary file.
    virtual Result<void> start() = 0;

    /// Ends the recording. Nothing if none was running.
    virtual std::optional<Take> stop() = 0;

    /// The average level of the last moment in dBFS (0 at full scale, negative below). Nothing if none is
    /// running.
    virtual std::optional<float> averagePower() = 0;
};

} // namespace tavrik
