#include "platform/linux/LazySound.h"

#include "base/Module.h"

namespace tavrik {

namespace {

std::unique_ptr<SoundServices> load() {
    const auto make = reinterpret_cast<MakeSoundServices>(
        moduleFunction(QStringLiteral("tavrik-sound"), "makeSoundServices"));
    if (!make)
        return nullptr;
    std::unique_ptr<SoundServices> services(make());
    services->microphone->requestAccess();
    return services;
}

} // namespace

void LazySound::begin() {
    if (!m_services.valid())
        m_services = std::async(std::launch::async, load);
}

SoundServices* LazySound::services() {
    begin();
    return m_services.get().get();
}

Result<std::unique_ptr<Microphone::Capture>> LazyMicrophone::start(Sink sink) {
    if (auto* services = m_sound->services())
        return services->microphone->start(std::move(sink));
    return std::unexpected(Error{QStringLiteral("Tavrik is not completely installed.")});
}

void LazySoundPlayer::play(Sound sound) {
    if (auto* services = m_sound->services())
        services->player->play(sound);
}

} // namespace tavrik
