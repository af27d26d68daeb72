#pragma once

#include "platform/Microphone.h"
#include "platform/SoundPlayer.h"

#include <memory>

namespace tavrik {

/// What stands on the connection to the sound server, and is a module for the sake of its libraries.
struct SoundServices {
    std::unique_ptr<Microphone> microphone;
    std::unique_ptr<SoundPlayer> player;
};

/// What the module offers, under the name "makeSoundServices". The caller owns the result.
using MakeSoundServices = SoundServices* (*)();

} // namespace tavrik
