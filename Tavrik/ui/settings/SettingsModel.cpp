#include "ui/settings/SettingsModel.h"

#include "base/AppVersion.h"
#include "platform/Clipboard.h"
#include "platform/FolderRevealer.h"
#include "platform/LoginItem.h"
#include "platform/PreferenceStore.h"
#include "preferences/PreferenceKeys.h"
#include "preferences/Settings.h"

#include <QPointer>

#include <utility>

namespace tavrik {

SettingsModel::SettingsModel(Dependencies dependencies, QObject* parent)
    : QObject(parent), m_dependencies(std::move(dependencies)), m_shortcut(m_dependencies.shortcut),
      m_shortcutStatus({m_dependencies.shortcut.settings, m_dependencies.shortcut.hotKey,
                        m_dependencies.pasteKeys, m_dependencies.clipboard, m_dependencies.texts}),
      m_ownKey(m_dependencies.shortcut.settings, m_shortcutStatus, m_dependencies.texts.command) {
    m_dependencies.shortcut.preferences.watch([self = QPointer<SettingsModel>(this)] {
        if (self)
            self->refresh();
    });
}

QString SettingsModel::targetLanguage() const {
    return m_dependencies.shortcut.settings.targetLanguage();
}

void SettingsModel::setTargetLanguage(const QString& language) {
    store(preferences::targetLanguage.name, language);
}

QString SettingsModel::appearance() const {
    return m_dependencies.shortcut.settings.appearance();
}

void SettingsModel::setAppearance(const QString& appearance) {
    store(preferences::appearance.name, appearance);
    m_dependencies.shortcut.settings.applyAppearance(m_dependencies.appearance);
}

bool SettingsModel::sounds() const {
    return m_dependencies.shortcut.settings.soundsEnabled();
}

void SettingsModel::setSounds(bool sounds) {
    store(preferences::soundsEnabled.name, sounds);
}

bool SettingsModel::launchAtLogin() const {
    return m_dependencies.loginItem.isEnabled();
}

void SettingsModel::setLaunchAtLogin(bool launch) {
    m_dependencies.loginItem.setEnabled(launch);
    Q_EMIT changed();
}

bool SettingsModel::sidebarCollapsed() const {
    return m_dependencies.shortcut.settings.sidebarCollapsed();
}

void SettingsModel::setSidebarCollapsed(bool collapsed) {
    store(preferences::sidebarCollapsed.name, collapsed);
}

QString SettingsModel::version() const {
    return appVersion();
}

void SettingsModel::revealDataFolder() {
    if (!m_dependencies.dataFolder.isEmpty())
        m_dependencies.folders.reveal(m_dependencies.dataFolder);
}

void SettingsModel::copy(const QString& text) {
    m_dependencies.clipboard.setText(text);
}

void SettingsModel::refresh() {
    m_shortcut.refresh();
    m_shortcutStatus.refresh();
    Q_EMIT changed();
}

void SettingsModel::store(QStringView key, const QVariant& value) {
    m_dependencies.shortcut.preferences.setValue(key.toString(), value);
    Q_EMIT changed();
}

} // namespace tavrik
