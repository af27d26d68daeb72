import QtQuick
import Tavrik

Column {
    id: page

    required property AccountModel account
    required property SettingsModel settings

    spacing: 14

    SettingsTitle {
        text: "Account"
    }

    SettingsGroup {
        SettingsRow {
            title: "Name"

            Label {
                width: Math.min(implicitWidth, page.width * 0.65)
                text: page.account.userName
                color: Theme.secondary
                elide: Text.ElideRight
            }
        }

        SettingsRowDivider {}

        SettingsRow {
            title: "Email"

            Label {
                width: Math.min(implicitWidth, page.width * 0.65)
                text: page.account.email
                color: Theme.secondary
                elide: Text.ElideMiddle
            }
        }

        SettingsRowDivider {}

        SettingsRow {
            title: "Session"
            subtitle: page.settings.signOutText

            PushButton {
                text: "Sign out"
                onClicked: page.account.signOut()
            }
        }

        SettingsRowDivider {}

        SettingsRow {
            title: "Your data"
            subtitle: page.settings.dataFolderText

            PushButton {
                text: page.settings.revealFolderText
                onClicked: page.settings.revealDataFolder()
            }
        }
    }
}
