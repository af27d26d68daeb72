#pragma once

#include "platform/PlatformTexts.h"
#include "ui/settings/OwnKeyStatus.h"
#include "ui/settings/ShortcutRecorder.h"
#include "ui/settings/ShortcutStatus.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

namespace tavrik {

class Appearance;
class FolderRevealer;
class LoginItem;

/// What the settings sheet shows and changes. Every change is stored at once; every reading is of the store
/// as it is now. Main thread only.
class SettingsModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Views are given it.")
    Q_PROPERTY(tavrik::ShortcutRecorder* shortcut READ shortcut CONSTANT)
    Q_PROPERTY(tavrik::ShortcutStatus* shortcutStatus READ shortcutStatus CONSTANT)
    Q_PROPERTY(tavrik::OwnKeyStatus* ownKey READ ownKey CONSTANT)
    Q_PROPERTY(QString targetLanguage READ targetLanguage WRITE setTargetLanguage NOTIFY changed)
    Q_PROPERTY(QString appearance READ appearance WRITE setAppearance NOTIFY changed)
    Q_PROPERTY(bool sounds READ sounds WRITE setSounds NOTIFY changed)
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY changed)
    Q_PROPERTY(bool sidebarCollapsed READ sidebarCollapsed WRITE setSidebarCollapsed NOTIFY changed)
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(QString microphoneText READ microphoneText CONSTANT)
    Q_PROPERTY(QString signOutText READ signOutText CONSTANT)
    Q_PROPERTY(QString dataFolderText READ dataFolderText CONSTANT)
    Q_PROPERTY(QString revealFolderText READ revealFolderText CONSTANT)

public:
    struct Dependencies {
        ShortcutRecorder::Dependencies shortcut;
        PasteKeys& pasteKeys;
        Clipboard& clipboard;
        Appearance& appearance;
        LoginItem& loginItem;
        FolderRevealer& folders;
        PlatformTexts texts;
        /// The history's folder.
        QString dataFolder;
    };

    explicit SettingsModel(Dependencies dependencies, QObject* parent = nullptr);

    ShortcutRecorder* shortcut() { return &m_shortcut; }
    ShortcutStatus* shortcutStatus() { return &m_shortcutStatus; }
    OwnKeyStatus* ownKey() { return &m_ownKey; }
    QString targetLanguage() const;
    void setTargetLanguage(const QString& language);
    QString appearance() const;
    /// Applies to the whole program.
    void setAppearance(const QString& appearance);
    bool sounds() const;
    void setSounds(bool sounds);
    bool launchAtLogin() const;
    /// Where the desktop refuses, launchAtLogin stays what it was, and says so.
    void setLaunchAtLogin(bool launch);
    bool sidebarCollapsed() const;
    void setSidebarCollapsed(bool collapsed);
    QString version() const;
    QString microphoneText() const { return m_dependencies.texts.microphone; }
    QString signOutText() const { return m_dependencies.texts.signOut; }
    QString dataFolderText() const { return m_dependencies.texts.dataFolder; }
    QString revealFolderText() const { return m_dependencies.texts.revealFolder; }

    /// Shows the history's folder in the file manager.
    Q_INVOKABLE void revealDataFolder();

    /// Puts the text on the clipboard.
    Q_INVOKABLE void copy(const QString& text);

    /// A page comes up: what it shows may have changed elsewhere.
    Q_INVOKABLE void refresh();

Q_SIGNALS:
    void changed();

private:
    void store(QStringView key, const QVariant& value);

    const Dependencies m_dependencies;
    ShortcutRecorder m_shortcut;
    ShortcutStatus m_shortcutStatus;
    OwnKeyStatus m_ownKey;
};

} // namespace tavrik
