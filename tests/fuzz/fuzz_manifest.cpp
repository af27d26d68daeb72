#include "updates/Release.h"
#include "updates/ReleaseVersion.h"

#include <QByteArray>

#include <cstdlib>

using namespace tavrik;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto release =
        readReleaseManifest({reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)});
    if (!release)
        return 0;
    const auto scheme = release->url.scheme();
    if ((scheme != QStringLiteral("https") && scheme != QStringLiteral("http")) ||
        release->url.host().isEmpty())
        std::abort();
    // An order: nothing is newer than itself, and of two versions at most one is the newer.
    const QString ours = QStringLiteral("1.2.0");
    if (isNewer(release->version, release->version) ||
        (isNewer(release->version, ours) && isNewer(ours, release->version)))
        std::abort();
    return 0;
}
