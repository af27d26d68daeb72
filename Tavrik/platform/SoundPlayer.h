#pragma once

#include "platform/Service.h"

namespace tavrik {

enum class Sound {
    pop,   // a recording has started
    glass, // the text has arrived
    basso, // something failed
};

/// Plays the program's short sounds. Main thread only.
class SoundPlayer : public Service {
public:
    /// Starts the sound and returns at once. Without a sound server nothing is heard and nothing is reported.
    virtual void play(Sound sound) = 0;
};

} // namespace tavrik
