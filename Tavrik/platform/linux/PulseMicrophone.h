#pragma once

#include "platform/Microphone.h"

#include <memory>

namespace tavrik {

class PulseConnection;

/// Records the sound server's default source. If it disappears, the server moves the capture to another.
class PulseMicrophone final : public Microphone {
public:
    explicit PulseMicrophone(std::shared_ptr<PulseConnection> connection);

    /// Asks the server, and waits for its answer as long as a start may take.
    ServiceStatus status() const override;
    void requestAccess() override;
    Result<std::unique_ptr<Capture>> start(Sink sink) override;

private:
    std::shared_ptr<PulseConnection> m_connection;
};

} // namespace tavrik
