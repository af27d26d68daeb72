#include "platform/linux/LinuxTexts.h"

#include <QDir>

namespace tavrik {

PlatformTexts linuxTexts(const QString& dataFolder) {
    const auto home = QDir::homePath() + u'/';
    const auto shown =
        dataFolder.startsWith(home) ? QStringLiteral("~/") + dataFolder.sliced(home.size()) : dataFolder;
    return {
        .microphone = QStringLiteral("Uses the system default input (Settings → Sound)."),
        .signOut = QStringLiteral("Signing out removes the session token from the keyring."),
        .dataFolder = QStringLiteral("Transcriptions live in %1.").arg(shown),
        .revealFolder = QStringLiteral("Show in File Manager"),
    };
}

} // namespace tavrik
