#include "mock-server/OfflineAnswer.h"

#include "mock-server/WavFile.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace tavrik::backend {

QString offlineAnswer(const Sound& sound, const QString& language) {
    const auto seconds = QString::number(sound.duration, 'f', 1);
    const auto heard =
        std::isinf(sound.loudness) ? u"silence"_s : u"audio at %1 dBFS"_s.arg(std::lround(sound.loudness));
    return u"Offline mock server: received %1 seconds of %2 for %3."_s.arg(seconds, heard, language);
}

} // namespace tavrik::backend
