import QtQuick
import Tavrik

// A symbol on a patch that shows while the pointer is over it.
PlainButton {
    id: button

    required property string symbol
    property real size: Theme.textSize
    property color colour: Theme.secondary
    property bool active: false

    padding: 5
    toolTip: text

    background: Rectangle {
        radius: button.radius
        color: Theme.hover
        visible: button.active || button.hovered
    }

    // An image of its own would be as large as its pixels are many.
    contentItem: Row {
        SymbolImage {
            name: button.symbol
            size: button.size
            colour: button.colour
        }
    }
}
