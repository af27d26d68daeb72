import QtQuick
import Tavrik

// The settings: tabs on the left, the page of one of them on the right. Has the keyboard as a whole at first.
Item {
    id: sheet

    required property AccountModel account
    required property SettingsModel settings
    required property bool presented

    signal closed

    // "general", "system" or "account".
    property string tab: "general"
    readonly property real tabWidth: 200
    readonly property real pagePadding: 30
    readonly property var pages: ({
            general: Qt.resolvedUrl("GeneralSettings.qml"),
            system: Qt.resolvedUrl("SystemSettings.qml"),
            account: Qt.resolvedUrl("AccountSettings.qml")
        })
    // No page is made before the sheet is first shown.
    property bool wasPresented: false

    width: 760
    implicitHeight: 500
    Accessible.role: Accessible.Dialog
    Accessible.name: "Settings"
    Accessible.focusable: true

    onPresentedChanged: {
        wasPresented = true;
        if (presented)
            settings.refresh();
        else
            settings.shortcut.cancel();
    }

    Rectangle {
        anchors.fill: parent
        radius: Theme.sheetRadius
        color: Theme.card
    }

    // Round at the sheet's corners only.
    Rectangle {
        width: 2 * radius
        height: parent.height
        radius: Theme.sheetRadius
        color: Theme.canvas
    }
    Rectangle {
        x: Theme.sheetRadius
        width: sheet.tabWidth - x
        height: parent.height
        color: Theme.canvas
    }

    Column {
        x: 14
        y: 24
        width: sheet.tabWidth - 2 * x
        spacing: 3

        SettingsCaption {
            text: "Settings"
        }

        SidebarButton {
            width: parent.width
            text: "General"
            symbol: "slider.horizontal.3"
            current: sheet.tab === "general"
            onClicked: sheet.tab = "general"
        }

        SidebarButton {
            width: parent.width
            text: "System"
            symbol: "display"
            current: sheet.tab === "system"
            onClicked: sheet.tab = "system"
        }

        SettingsCaption {
            text: "Account"
            topPadding: 18
        }

        SidebarButton {
            width: parent.width
            text: "Account"
            symbol: "person.crop.circle"
            current: sheet.tab === "account"
            onClicked: sheet.tab = "account"
        }
    }

    Label {
        x: 24
        y: parent.height - height - 24
        text: "Tavrik v" + sheet.settings.version
        size: Theme.captionSize
        color: Theme.secondary
    }

    ScrollingPage {
        id: scroller
        x: sheet.tabWidth
        width: parent.width - x
        height: parent.height
        contentHeight: page.height + 2 * sheet.pagePadding

        ViewLoader {
            id: page
            x: sheet.pagePadding
            y: sheet.pagePadding
            width: scroller.width - 2 * sheet.pagePadding
            view: sheet.wasPresented ? sheet.pages[sheet.tab] : ""
            needs: () => sheet.tab === "account" ? {
                    settings: sheet.settings,
                    account: sheet.account
                } : {
                    settings: sheet.settings
                }
            onLoaded: {
                scroller.contentY = 0;
                sheet.settings.refresh();
            }
        }
    }

    IconButton {
        id: close
        x: parent.width - width
        symbol: "xmark.circle.fill"
        size: 16
        padding: 14
        radius: width / 2
        text: "Close"
        onClicked: sheet.closed()

        // A ring round the symbol.
        background: Item {
            Rectangle {
                anchors.fill: parent
                anchors.margins: 10
                radius: width / 2
                color: Theme.hover
                border.width: Theme.hairline
                border.color: Theme.border
                visible: close.hovered
            }
        }
    }
}
