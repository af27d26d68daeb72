#pragma once

namespace tavrik {

enum class Sound {
    pop,   // a recording has started
    glass, // the text has arrived
    basso, // something failed
};

/// Plays the program's short sounds. Main thread only.
class SoundPlayer {
public:
    SoundPlayer() = default;
    SoundPlayer(const SoundPlayer&) = delete;
    SoundPlayer& operator=(const SoundPlayer&) = delete;
    virtual ~SoundPlayer() = default;

    /// Starts the sound and returns at once. Without a sound server nothing is heard and nothing is reported.
    virtual void play(Sound sound) = 0;
};

} // namespace tavrik
