#include "platform/linux/LinuxTexts.h"

#include <QDir>
#include <QHash>
#include <QStringList>

namespace tavrik {

using namespace Qt::StringLiterals;

namespace {

QString shortcutNote(const QString& shortcut) {
    static const QHash<QChar, QString> modifiers{
        {u'⌃', u"Ctrl"_s}, {u'⌥', u"Alt"_s}, {u'⇧', u"Shift"_s}, {u'⌘', u"Super"_s}};
    static const QHash<QString, QString> renamedKeys{{u"Return"_s, u"Enter"_s},
                                                     {u"Delete"_s, u"Backspace"_s}};
    QStringList keys;
    while (keys.size() < shortcut.size() && modifiers.contains(shortcut.at(keys.size())))
        keys << modifiers.value(shortcut.at(keys.size()));
    if (keys.isEmpty())
        return {};
    const auto key = shortcut.sliced(keys.size()).trimmed();
    return (keys << renamedKeys.value(key, key)).join(u" + ") + u" on this keyboard"_s;
}

} // namespace

PlatformTexts linuxTexts(const QString& dataFolder, const QString& command) {
    const auto home = QDir::homePath() + u'/';
    const auto shown = dataFolder.startsWith(home) ? u"~/"_s + dataFolder.sliced(home.size()) : dataFolder;
    return {
        .microphone = u"Uses the system default input (Settings → Sound)."_s,
        .signOut = u"Signing out removes the session token from the keyring."_s,
        .dataFolder = u"Transcriptions live in %1."_s.arg(shown),
        .revealFolder = u"Show in File Manager"_s,
        .command = command,
        .shortcutNote = &shortcutNote,
    };
}

} // namespace tavrik
