#pragma once

#include "platform/linux/SoundServices.h"

#include <future>

namespace tavrik {

/// Loads the sound services off the main thread: it takes longer than the rest of a launch, and nobody has
/// spoken yet. An installation without them has no microphone and is silent. Main thread only.
class LazySound {
public:
    /// Loads them, and begins to connect. Returns at once.
    void begin();

    /// Null where there are none. Waits for the loading.
    SoundServices* services();

private:
    std::shared_future<std::unique_ptr<SoundServices>> m_services;
};

class LazyMicrophone final : public Microphone {
public:
    explicit LazyMicrophone(std::shared_ptr<LazySound> sound) : m_sound(std::move(sound)) {}

    void requestAccess() override { m_sound->begin(); }
    Result<std::unique_ptr<Capture>> start(Sink sink) override;

private:
    std::shared_ptr<LazySound> m_sound;
};

class LazySoundPlayer final : public SoundPlayer {
public:
    explicit LazySoundPlayer(std::shared_ptr<LazySound> sound) : m_sound(std::move(sound)) {}

    void play(Sound sound) override;

private:
    std::shared_ptr<LazySound> m_sound;
};

} // namespace tavrik
