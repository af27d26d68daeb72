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
    }

    SettingsGroup {
        SettingsRow {
            title: "Launch app at login"

            ToggleSwitch {
                name: "Launch app at login"
                on: page.settings.launchAtLogin
                onClicked: page.settings.launchAtLogin = !on
            }
        }
    }

    Label {
        topPadding: 6
        text: "Sound"
        font.weight: Font.DemiBold
    }

    SettingsGroup {
        SettingsRow {
            title: "Recording and notification sounds"
            subtitle: "Chimes when recording starts and when text is pasted."

            ToggleSwitch {
                name: "Recording and notification sounds"
                on: page.settings.sounds
                onClicked: page.settings.sounds = !on
            }
        }
    }
}
