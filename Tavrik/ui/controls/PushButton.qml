import QtQuick
import Tavrik

// A bordered button, or a filled one where it is the one to press.
PlainButton {
    id: button

    property string symbol
    property bool prominent: false
    property real size: Theme.textSize
    // Of the label; as wide as it needs if not given.
    property real labelWidth: implicitContentWidth
    // Disabled, it is as flat as what surrounds it, and can still be read.
    readonly property bool filled: prominent && enabled
    readonly property color ink: !enabled ? Theme.secondary : prominent ? Theme.overAccent : Theme.primary

    radius: Theme.buttonRadius
    horizontalPadding: 12
    verticalPadding: 5
    leftPadding: Math.round((width - implicitContentWidth) / 2)
    implicitWidth: labelWidth + 2 * horizontalPadding

    background: Rectangle {
        radius: button.radius
        color: button.filled ? Theme.accent : !button.enabled ? Theme.canvas : button.hovered ? Theme.hover : Theme.card
        border.width: Theme.hairline
        border.color: button.filled ? Theme.accentOutline : Theme.border

        // Pressed, and for the filled one also pointed at.
        Rectangle {
            anchors.fill: parent
            radius: button.radius
            color: Theme.shade
            opacity: button.pressed ? 0.1 : 0.04
            visible: button.pressed || (button.filled && button.hovered)
        }
    }

    contentItem: Row {
        spacing: 8

        SymbolImage {
            anchors.verticalCenter: parent.verticalCenter
            visible: button.symbol !== ""
            name: button.symbol
            size: button.size
            colour: button.ink
        }

        Label {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            size: button.size
            font.weight: button.prominent ? Font.DemiBold : Font.Medium
            color: button.ink
            Accessible.ignored: true
        }
    }
}
