#pragma once

#include "base/Result.h"
#include "platform/Service.h"

#include <QtGlobal>

#include <functional>
#include <memory>
#include <span>

namespace tavrik {

/// The default input device, delivering 16 kHz mono 16-bit samples.
class Microphone : public Service {
public:
    static constexpr int sampleRate = 16000;

    /// Receives the samples in order, on a thread of the backend's own. Must not block.
    using Sink = std::function<void(std::span<const qint16>)>;

    /// A capture in progress. Destroying it without stop() drops what the sound server still holds.
    class Capture {
    public:
        Capture() = default;
        Capture(const Capture&) = delete;
        Capture& operator=(const Capture&) = delete;
        virtual ~Capture() = default;

        /// Delivers everything spoken up to this moment, then ends the capture. Takes 12 ms at most, also
        /// when the sound server has died. The sink is not called after it has returned. Fails, with a
        /// sentence for the user, if the samples had ceased to come before.
        virtual Result<void> stop() = 0;
    };

    /// Asks for permission where the desktop wants it, and makes ready, so that the first start() is quick.
    /// Returns at once; the answer is not reported.
    virtual void requestAccess() = 0;

    /// Begins a capture. Answers within 100 ms. Main thread.
    virtual Result<std::unique_ptr<Capture>> start(Sink sink) = 0;
};

} // namespace tavrik
