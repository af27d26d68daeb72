import QtQuick
import Tavrik

// The window's content: the program's pages for whoever is signed in, else the way to sign in. Nothing until it is
// known which.
Item {
    id: root

    required property AccountModel account
    required property SettingsModel settings
    required property HistoryPages pages

    Rectangle {
        id: content
        anchors.fill: parent
        color: Theme.canvas

        ViewLoader {
            anchors.fill: parent
            view: !root.account.known ? "" : root.account.signedIn ? Qt.resolvedUrl("AppBody.qml") : Qt.resolvedUrl("../account/LoginView.qml")
            needs: () => root.account.signedIn ? {
                    account: root.account,
                    settings: root.settings,
                    pages: root.pages
                } : {
                    account: root.account,
                    settings: root.settings
                }
        }
    }

    AppearanceFade {
        anchors.fill: parent
        from: content
    }

    Shortcut {
        sequence: "Ctrl+W"
        onActivated: root.Window.window.close()
    }
}
