pragma ComponentBehavior: Bound

import QtQuick

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

        Loader {
            anchors.left: sidebar.right
            anchors.right: parent.right
            height: parent.height
            sourceComponent: body.selection === "home" ? home : history
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
        content: settingsSheet
        onDismissed: body.showSettings = false
    }

    Component {
        id: home

        HomeView {
            pages: body.pages
        }
    }

    Component {
        id: history

        HistoryView {
            pages: body.pages
        }
    }

    Component {
        id: settingsSheet

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
