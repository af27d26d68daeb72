#include "platform/linux/PulseConnection.h"
#include "platform/linux/PulseMicrophone.h"
#include "platform/linux/PulseSoundPlayer.h"
#include "platform/linux/SoundServices.h"

extern "C" Q_DECL_EXPORT tavrik::SoundServices* makeSoundServices() {
    using namespace tavrik;
    const auto connection = std::make_shared<PulseConnection>();
    return new SoundServices{.microphone = std::make_unique<PulseMicrophone>(connection),
                             .player = std::make_unique<PulseSoundPlayer>(connection)};
}
