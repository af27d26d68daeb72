import QtQuick
import Tavrik

Column {
    id: page

    required property SettingsModel settings
    readonly property ShortcutStatus shortcut: settings.shortcutStatus

    spacing: 14
    Component.onDestruction: settings.shortcut.cancel()

    SettingsTitle {
        text: "General"
    }

    SettingsGroup {
        SettingsRow {
            title: "Shortcut"
            subtitle: "Hold it, speak Persian, release to paste."

            ShortcutButton {
                recorder: page.settings.shortcut
            }

            below: [
                Label {
                    width: parent.width
                    visible: page.shortcut.assigned !== ""
                    text: "Assigned by your desktop: " + page.shortcut.assigned
                    size: Theme.smallSize
                    color: Theme.secondary
                    wrapMode: Text.Wrap
                },
                ShortcutNotice {
                    text: page.settings.shortcut.recording ? "" : page.shortcut.warning
                    remedy: page.shortcut.remedy
                    onApplied: page.shortcut.applyRemedy()
                },
                ShortcutLines {
                    status: page.shortcut
                },
                ShortcutNotice {
                    text: page.shortcut.pasteWarning
                    remedy: page.shortcut.pasteRemedy
                    onApplied: page.shortcut.applyPasteRemedy()
                }
            ]
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
