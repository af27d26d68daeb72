import QtQuick
import Tavrik

// A button with a face of its own: bordered, or filled where it is the one to press.
PlainButton {
    id: button

    property string symbol
    property bool prominent: false
    property real size: 13
    // Of the label; as wide as it needs if not given.
    property real labelWidth: row.implicitWidth
    property real horizontalPadding: 12
    property real verticalPadding: 5

    radius: 7
    implicitWidth: labelWidth + 2 * horizontalPadding
    implicitHeight: row.implicitHeight + 2 * verticalPadding
    opacity: enabled ? 1 : 0.5

    Rectangle {
        anchors.fill: parent
        radius: button.radius
        color: button.prominent ? Theme.accent : button.hovered ? Theme.hover : Theme.card
        border.width: button.prominent ? 0 : 1
        border.color: Theme.border
    }

    // Pressed, and for the filled one also pointed at.
    Rectangle {
        anchors.fill: parent
        radius: button.radius
        color: "black"
        opacity: button.pressed ? 0.1 : 0.04
        visible: button.pressed || (button.prominent && button.hovered)
    }

    Row {
        id: row
        anchors.centerIn: parent
        spacing: 8

        SymbolImage {
            anchors.verticalCenter: parent.verticalCenter
            visible: button.symbol !== ""
            name: button.symbol
            size: button.size
            colour: label.color
        }

        Label {
            id: label
            anchors.verticalCenter: parent.verticalCenter
            text: button.name
            size: button.size
            font.weight: button.prominent ? Font.DemiBold : Font.Medium
            color: button.prominent ? Theme.overAccent : Theme.primary
            Accessible.ignored: true
        }
    }
}
