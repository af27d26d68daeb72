import QtQuick
import Tavrik

Column {
    id: page

    required property SettingsModel settings

    spacing: 14
    Component.onDestruction: settings.shortcut.cancel()

    SettingsTitle {
        text: "General"
    }

    SettingsGroup {
        SettingsRow {
            title: "Shortcut"
            subtitle: "Hold it, speak Persian, release to paste."
            note: page.settings.shortcutStatus.note

            ShortcutButton {
                recorder: page.settings.shortcut
                note: page.settings.shortcutStatus.note
            }

            below: ShortcutNotes {
                width: parent.width
                settings: page.settings
            }
        }

        SettingsRowDivider {}

        SettingsRow {
            title: "Microphone"
            subtitle: page.settings.microphoneText
        }

        SettingsRowDivider {}

        SettingsRow {
            title: "Language"
            subtitle: "Persian → " + page.settings.targetLanguage

            LanguagePicker {
                value: page.settings.targetLanguage
                onChosen: value => page.settings.targetLanguage = value
            }
        }

        SettingsRowDivider {}

        SettingsRow {
            title: "Appearance"
            subtitle: "How Tavrik looks."

            AppearancePicker {
                value: page.settings.appearance
                onChosen: value => page.settings.appearance = value
            }
        }
    }
}
