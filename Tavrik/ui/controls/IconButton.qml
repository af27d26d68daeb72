import QtQuick
import Tavrik

// A symbol on a patch that shows while the pointer is over it.
PlainButton {
    id: button

    required property string symbol
    property real size: 13
    property real padding: 5
    property bool active: false

    implicitWidth: image.width + 2 * padding
    implicitHeight: image.height + 2 * padding

    Rectangle {
        anchors.fill: parent
        radius: button.radius
        color: Theme.hover
        visible: button.active || button.hovered
    }

    SymbolImage {
        id: image
        anchors.centerIn: parent
        name: button.symbol
        size: button.size
        colour: Theme.secondary
    }
}
