import QtQuick
import Tavrik

// The pages to choose from, wide with their titles or collapsed to symbols.
Item {
    id: sidebar

    required property string selection
    required property bool collapsed

    signal selected(string selection)
    signal settingsOpened
    signal collapseToggled

    // 1 when wide, 0 when collapsed.
    readonly property real openness: Math.max(0, Math.min(1, (width - Theme.collapsedSidebarWidth) / (Theme.sidebarWidth - Theme.collapsedSidebarWidth)))

    width: spring.value
    clip: true

    SpringValue {
        id: spring
        target: sidebar.collapsed ? Theme.collapsedSidebarWidth : Theme.sidebarWidth
    }

    Item {
        id: header
        x: Theme.sidebarMargin
        y: 52
        width: parent.width - 2 * x
        height: 38 + 18 + 4 * sidebar.openness

        Row {
            x: 8
            spacing: 10
            opacity: sidebar.openness
            visible: opacity > 0
            scale: 0.95 + 0.05 * sidebar.openness
            transformOrigin: Item.Left

            LogoMark {}

            Label {
                anchors.verticalCenter: parent.verticalCenter
                text: "Tavrik"
                size: 16
                font.weight: Font.Bold
                Accessible.role: Accessible.Heading
            }
        }

        LogoMark {
            anchors.horizontalCenter: parent.horizontalCenter
            opacity: 1 - sidebar.openness
            visible: opacity > 0
            scale: 1 - 0.1 * sidebar.openness
        }
    }

    Column {
        x: Theme.sidebarMargin
        y: header.y + header.height
        width: header.width
        spacing: 3

        SidebarButton {
            width: parent.width
            text: "Home"
            symbol: "square.grid.2x2"
            collapsed: sidebar.collapsed
            current: sidebar.selection === "home"
            onClicked: sidebar.selected("home")
        }

        SidebarButton {
            width: parent.width
            text: "History"
            symbol: "clock.arrow.circlepath"
            collapsed: sidebar.collapsed
            current: sidebar.selection === "history"
            onClicked: sidebar.selected("history")
        }
    }

    Column {
        x: Theme.sidebarMargin
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 14
        width: header.width
        spacing: 3

        SidebarButton {
            width: parent.width
            text: "Settings"
            symbol: "gearshape"
            collapsed: sidebar.collapsed
            onClicked: sidebar.settingsOpened()
        }

        SidebarToggle {
            // From the leading edge to the middle.
            x: (1 - sidebar.openness) * (parent.width - width) / 2
            collapsed: sidebar.collapsed
            onClicked: sidebar.collapseToggled()
        }
    }
}
