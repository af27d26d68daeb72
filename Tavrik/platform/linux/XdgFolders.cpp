#include "platform/linux/XdgFolders.h"

#include <QDir>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace tavrik {

namespace {

/// QStandardPaths takes a relative path from the environment as it stands.
QString baseFolder(QStandardPaths::StandardLocation location, const QString& fallback) {
    const auto folder = QStandardPaths::writableLocation(location);
    return QDir::cleanPath(QDir::isAbsolutePath(folder) ? folder : QDir::home().filePath(fallback));
}

} // namespace

Folders xdgFolders() {
    return {
        .applicationSupport =
            baseFolder(QStandardPaths::GenericDataLocation, u".local/share"_s) + u"/Tavrik"_s,
        .temporary = QDir::tempPath(),
    };
}

QString xdgConfigFolder() {
    return baseFolder(QStandardPaths::GenericConfigLocation, u".config"_s);
}

QString xdgPreferencesFile() {
    return xdgConfigFolder() + u"/Tavrik/preferences.json"_s;
}

} // namespace tavrik
