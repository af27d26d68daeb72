#include "platform/linux/XdgFolders.h"

#include <QDir>
#include <QFile>

namespace tavrik {

namespace {

QString baseFolder(const char* variable, const QString& fallback) {
    const auto path = QFile::decodeName(qgetenv(variable));
    return QDir::cleanPath(QDir::isAbsolutePath(path) ? path : QDir::home().filePath(fallback));
}

} // namespace

Folders xdgFolders() {
    const auto data = baseFolder("XDG_DATA_HOME", QStringLiteral(".local/share"));
    return {.applicationSupport = data + QStringLiteral("/Tavrik"), .temporary = QDir::tempPath()};
}

QString xdgPreferencesFile() {
    return baseFolder("XDG_CONFIG_HOME", QStringLiteral(".config")) +
           QStringLiteral("/Tavrik/preferences.json");
}

} // namespace tavrik
