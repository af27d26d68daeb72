pragma ComponentBehavior: Bound

import QtQuick

// The window's content: the program's pages for whoever is signed in, else the way to sign in. Nothing until it is
// known which.
Item {
    id: root

    required property AccountModel account
    required property SettingsModel settings
    required property HistoryPages pages

    Rectangle {
        anchors.fill: parent
        color: Theme.canvas
    }

    Loader {
        anchors.fill: parent
        active: root.account.known
        sourceComponent: root.account.signedIn ? body : login
    }

    Component {
        id: body

        AppBody {
            account: root.account
            settings: root.settings
            pages: root.pages
        }
    }

    Component {
        id: login

        LoginView {
            account: root.account
        }
    }

    Shortcut {
        sequence: "Ctrl+W"
        onActivated: root.Window.window.close()
    }
}
