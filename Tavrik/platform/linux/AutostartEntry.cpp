#include "platform/linux/AutostartEntry.h"

#include "platform/linux/XdgFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <map>
#include <utility>

namespace tavrik {

namespace {

/// A path as the value of Exec: quoted, and escaped once for the quotes and once for the file.
QByteArray execValue(const QString& program) {
    QByteArray value = "\"";
    for (const char c : program.toUtf8()) {
        if (c == '\\')
            value += "\\\\\\\\";
        else if (c == '"' || c == '`' || c == '$')
            (value += "\\\\") += c;
        else if (c == '%')
            value += "%%";
        else
            value += c;
    }
    return value + '"';
}

/// The entry's own keys; groups of actions have others of the same name.
std::map<QByteArray, QByteArray> keysOf(QFile& file) {
    std::map<QByteArray, QByteArray> keys;
    bool inside = false;
    while (!file.atEnd()) {
        const auto line = file.readLine().trimmed();
        if (line.startsWith('['))
            inside = line == "[Desktop Entry]";
        else if (const auto equals = line.indexOf('='); inside && equals > 0)
            keys[line.first(equals).trimmed()] = line.sliced(equals + 1).trimmed();
    }
    return keys;
}

} // namespace

AutostartEntry::AutostartEntry(QString file, QString program)
    : m_file(std::move(file)), m_program(std::move(program)) {}

QString AutostartEntry::standardFile() {
    return xdgConfigFolder() + QStringLiteral("/autostart/io.nordvex.tavrik.desktop");
}

bool AutostartEntry::isEnabled() const {
    QFile file(m_file);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    auto keys = keysOf(file);
    return !keys["Exec"].isEmpty() && keys["Hidden"] != "true" &&
           keys["X-GNOME-Autostart-enabled"] != "false";
}

void AutostartEntry::setEnabled(bool enabled) {
    if (!enabled) {
        QFile::remove(m_file);
        return;
    }
    QDir().mkpath(QFileInfo(m_file).path());
    QSaveFile file(m_file);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write("[Desktop Entry]\n"
               "Type=Application\n"
               "Name=Tavrik\n"
               "Comment=Hold a key, speak Persian, get fluent text\n"
               "Exec=" +
               execValue(m_program) +
               "\n"
               "Icon=io.nordvex.tavrik\n"
               "StartupNotify=false\n"
               "Terminal=false\n");
    file.commit();
}

} // namespace tavrik
