#pragma once

#include "platform/SoundPlayer.h"

#include <QByteArray>

#include <array>
#include <memory>

namespace tavrik {

class PulseConnection;

/// Plays through the sound server with the role "event", so that the user's volume for event sounds applies.
/// No stream stays open afterwards.
class PulseSoundPlayer final : public SoundPlayer {
public:
    explicit PulseSoundPlayer(std::shared_ptr<PulseConnection> connection);

    /// Asks the server, and waits for its answer as long as the start of a recording may take.
    ServiceStatus status() const override;
    void play(Sound sound) override;

private:
    std::shared_ptr<PulseConnection> m_connection;
    std::array<QByteArray, 3> m_samples; // by Sound
};

} // namespace tavrik
