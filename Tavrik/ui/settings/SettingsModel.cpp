#include "ui/settings/SettingsModel.h"

#include "base/AppVersion.h"
#include "platform/FolderRevealer.h"
#include "platform/LoginItem.h"
#include "platform/PreferenceStore.h"
#include "preferences/PreferenceKeys.h"
#include "preferences/Settings.h"

#include <utility>

namespace tavrik {

SettingsModel::SettingsModel(Collaborators with, QObject* parent)
    : QObject(parent), m_with(std::move(with)), m_shortcut(m_with.shortcut) {}

QString SettingsModel::targetLanguage() const {
    return m_with.shortcut.settings.targetLanguage();
}

void SettingsModel::setTargetLanguage(const QString& language) {
    store(preferences::targetLanguage.name, language);
}

QString SettingsModel::appearance() const {
    return m_with.shortcut.settings.appearance();
}

void SettingsModel::setAppearance(const QString& appearance) {
    store(preferences::appearance.name, appearance);
    m_with.shortcut.settings.applyAppearance(m_with.appearance);
}

bool SettingsModel::sounds() const {
    return m_with.shortcut.settings.soundsEnabled();
}

void SettingsModel::setSounds(bool sounds) {
    store(preferences::soundsEnabled.name, sounds);
}

bool SettingsModel::launchAtLogin() const {
    return m_with.loginItem.isEnabled();
}

void SettingsModel::setLaunchAtLogin(bool launch) {
    m_with.loginItem.setEnabled(launch);
    Q_EMIT changed();
}

bool SettingsModel::sidebarCollapsed() const {
    return m_with.shortcut.settings.sidebarCollapsed();
}

void SettingsModel::setSidebarCollapsed(bool collapsed) {
    store(preferences::sidebarCollapsed.name, collapsed);
}

QString SettingsModel::version() const {
    return appVersion();
}

void SettingsModel::revealDataFolder() {
    if (!m_with.dataFolder.isEmpty())
        m_with.folders.reveal(m_with.dataFolder);
}

void SettingsModel::refresh() {
    m_shortcut.refresh();
    Q_EMIT changed();
}

void SettingsModel::store(QStringView key, const QVariant& value) {
    m_with.shortcut.preferences.setValue(key.toString(), value);
    Q_EMIT changed();
}

} // namespace tavrik
