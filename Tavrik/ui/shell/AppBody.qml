import QtQuick
import Tavrik

// What a signed-in user sees: the sidebar, a page, and what opens over them.
Item {
    id: body

    required property AccountModel account
    required property SettingsModel settings
    required property HistoryPages pages

    // "home" or "history".
    property string selection: "home"
    property bool showSettings: false
    // The drop-down card that is open: "", "notifications" or "account".
    property string topPanel: ""

    Item {
        anchors.fill: parent
        // Behind the sheet nothing can be reached, by whatever means.
        enabled: !body.showSettings

        SidebarView {
            id: sidebar
            height: parent.height
            selection: body.selection
            collapsed: body.settings.sidebarCollapsed
            onSelected: selection => body.selection = selection
            onSettingsOpened: {
                body.topPanel = "";
                body.showSettings = true;
            }
            onCollapseToggled: body.settings.sidebarCollapsed = !body.settings.sidebarCollapsed
        }

        ViewLoader {
            anchors.left: sidebar.right
            anchors.right: parent.right
            height: parent.height
            view: body.selection === "home" ? Qt.resolvedUrl("../home/HomeView.qml") : Qt.resolvedUrl("../history/HistoryView.qml")
            needs: () => ({
                        pages: body.pages
                    })
        }

        MouseArea {
            anchors.fill: parent
            enabled: body.topPanel !== ""
            hoverEnabled: true
            onClicked: body.topPanel = ""
            onWheel: {}
        }

        NotificationsCard {
            x: parent.width - width - 20
            y: 46
            shown: body.topPanel === "notifications"
        }

        AccountCard {
            x: parent.width - width - 20
            y: 46
            shown: body.topPanel === "account"
            account: body.account
            version: body.settings.version
        }

        TopBarIcons {
            x: parent.width - width - 22
            y: 12
            panel: body.topPanel
            onChosen: panel => body.topPanel = panel
        }
    }

    ModalOverlay {
        anchors.fill: parent
        presented: body.showSettings
        onDismissed: body.showSettings = false

        SettingsSheet {
            account: body.account
            settings: body.settings
            presented: body.showSettings
            onClosed: body.showSettings = false
        }
    }

    Shortcut {
        sequence: "Escape"
        enabled: body.showSettings || body.topPanel !== ""
        onActivated: {
            body.showSettings = false;
            body.topPanel = "";
        }
    }
}
