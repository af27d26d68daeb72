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
    // Has the keyboard again when what is open closes.
    property Item returnTo

    function openSettings(): void {
        topPanel = "";
        returnTo = Window.activeFocusItem;
        showSettings = true;
        sheet.forceActiveFocus(Qt.PopupFocusReason);
    }

    function closeSettings(): void {
        showSettings = false;
        returnTo?.forceActiveFocus(Qt.PopupFocusReason);
    }

    function closePanel(): void {
        // Nobody is left without a place in the window.
        if (cards.activeFocus)
            icons.button(topPanel).forceActiveFocus(Qt.PopupFocusReason);
        topPanel = "";
    }

    CoverableItem {
        anchors.fill: parent
        // Behind the sheet nothing can be reached, by whatever means.
        enabled: !body.showSettings
        covered: body.showSettings
        Accessible.role: Accessible.Grouping

        SidebarView {
            id: sidebar
            height: parent.height
            selection: body.selection
            collapsed: body.settings.sidebarCollapsed
            onSelected: selection => body.selection = selection
            onSettingsOpened: body.openSettings()
            onCollapseToggled: body.settings.sidebarCollapsed = !body.settings.sidebarCollapsed
        }

        ViewLoader {
            anchors.left: sidebar.right
            anchors.right: parent.right
            height: parent.height
            view: body.selection === "home" ? Qt.resolvedUrl("../home/HomeView.qml") : Qt.resolvedUrl("../history/HistoryView.qml")
            needs: () => body.selection === "home" ? {
                    pages: body.pages,
                    shortcut: body.settings.shortcutStatus
                } : {
                    pages: body.pages
                }
        }

        // A click beside an open card closes it, and does nothing else.
        MouseArea {
            anchors.fill: parent
            enabled: body.topPanel !== ""
            acceptedButtons: Qt.AllButtons
            hoverEnabled: true
            onClicked: body.closePanel()
            onWheel: {}
        }

        TopBarIcons {
            id: icons
            x: parent.width - width - 22
            y: 12
            panel: body.topPanel
            onChosen: panel => body.topPanel = panel
        }

        FocusScope {
            id: cards
            x: parent.width - 20
            y: 46

            NotificationsCard {
                x: -width
                shown: body.topPanel === "notifications"
            }

            AccountCard {
                x: -width
                shown: body.topPanel === "account"
                account: body.account
                version: body.settings.version
            }
        }
    }

    ModalOverlay {
        anchors.fill: parent
        presented: body.showSettings
        onDismissed: body.closeSettings()

        SettingsSheet {
            id: sheet
            height: Math.min(implicitHeight, body.height - 2 * Theme.cardPadding)
            account: body.account
            settings: body.settings
            presented: body.showSettings
            onClosed: body.closeSettings()
        }
    }

    Shortcut {
        sequence: "Escape"
        enabled: body.showSettings || body.topPanel !== ""
        onActivated: {
            if (body.showSettings)
                body.closeSettings();
            else
                body.closePanel();
        }
    }
}
