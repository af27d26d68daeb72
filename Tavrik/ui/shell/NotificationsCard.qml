import QtQuick
import Tavrik

// Lists nothing: there are no notifications.
DropdownCard {
    width: 240
    spacing: 10

    Label {
        text: "Notifications"
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
    }

    Row {
        spacing: 8

        SymbolImage {
            anchors.verticalCenter: parent.verticalCenter
            name: "bell.slash"
            size: Theme.smallSize
            colour: Theme.secondary
        }

        Label {
            text: "Nothing here yet."
            size: Theme.smallSize
            color: Theme.secondary
        }
    }
}
