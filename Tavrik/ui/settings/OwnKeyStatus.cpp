#include "ui/settings/OwnKeyStatus.h"

#include "preferences/PreferenceKeys.h"
#include "preferences/Settings.h"
#include "ui/settings/ShortcutStatus.h"

#include <utility>

namespace tavrik {

using namespace Qt::StringLiterals;

OwnKeyStatus::OwnKeyStatus(const Settings& settings, const ShortcutStatus& shortcut, QString command)
    : m_settings(settings), m_shortcut(shortcut), m_command(std::move(command)) {
    connect(&m_shortcut, &ShortcutStatus::changed, this, &OwnKeyStatus::changed);
}

bool OwnKeyStatus::isSet() const {
    return !m_settings.openRouterKey().isEmpty();
}

QString OwnKeyStatus::note() const {
    const bool works = m_shortcut.warning().isEmpty() && m_shortcut.bindingLines().isEmpty();
    return works ? u"Dictation works with your own key, without an account."_s
                 : u"Your own key is set, and no account is needed."_s;
}

QString OwnKeyStatus::keyCommand() const {
    return setPreference(preferences::openRouterKey.name, u"-");
}

QString OwnKeyStatus::languageCommand() const {
    return setPreference(preferences::targetLanguage.name, u"German");
}

QString OwnKeyStatus::shortcutCommands() const {
    const QStringList lines{setPreference(preferences::hotKeyKeyCode.name, u"49"),
                            setPreference(preferences::hotKeyModifiers.name, u"4096"),
                            setPreference(preferences::hotKeyDisplay.name, u"'⌃ Space'")};
    return lines.join(u'\n');
}

QString OwnKeyStatus::setPreference(QStringView name, QStringView value) const {
    return u"%1 preferences set %2 %3"_s.arg(m_command, name, value);
}

} // namespace tavrik
