import QtQuick
import Tavrik

Column {
    id: page

    required property SettingsModel settings

    spacing: 14

    SettingsTitle {
        text: "System"
    }

    Label {
        text: "App settings"
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
    }

    SettingsGroup {
        SettingsRow {
            title: "Launch app at login"

            ToggleSwitch {
                text: "Launch app at login"
                // Stays off where the desktop refuses: the model says again what it is.
                checked: page.settings.launchAtLogin
                onToggled: page.settings.launchAtLogin = checked
            }
        }
    }

    Label {
        topPadding: 6
        text: "Sound"
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
    }

    SettingsGroup {
        SettingsRow {
            title: "Recording and notification sounds"
            subtitle: "Chimes when recording starts and when text is pasted."

            ToggleSwitch {
                text: "Recording and notification sounds"
                checked: page.settings.sounds
                onToggled: page.settings.sounds = checked
            }
        }
    }
}
