#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace tavrik {

class Settings;
class ShortcutStatus;

/// What users who dictate with a translation service's key of their own are told: without an account they
/// never see the settings. Main thread only.
class OwnKeyStatus : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Views are given it.")
    Q_PROPERTY(bool isSet READ isSet NOTIFY changed)
    Q_PROPERTY(QString note READ note NOTIFY changed)
    Q_PROPERTY(QString keyCommand READ keyCommand CONSTANT)
    Q_PROPERTY(QString languageCommand READ languageCommand CONSTANT)
    Q_PROPERTY(QString shortcutCommands READ shortcutCommands CONSTANT)

public:
    /// `command` is what a shell calls the program. The others must outlive this.
    OwnKeyStatus(const Settings& settings, const ShortcutStatus& shortcut, QString command);

    bool isSet() const;
    /// Whether dictation works with the key.
    QString note() const;

    /// Shell lines that set the preferences: the key, read from the standard input; a language; a shortcut.
    QString keyCommand() const;
    QString languageCommand() const;
    QString shortcutCommands() const;

Q_SIGNALS:
    void changed();

private:
    QString setPreference(QStringView name, QStringView value) const;

    const Settings& m_settings;
    const ShortcutStatus& m_shortcut;
    const QString m_command;
};

} // namespace tavrik
