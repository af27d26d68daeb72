import QtQuick
import Tavrik

// A row of the sidebar: a symbol and, unless it is collapsed, a title.
PlainButton {
    id: button

    required property string title
    required property string symbol
    property bool collapsed: false
    property bool current: false

    name: title
    toolTip: title
    radius: 8
    implicitHeight: Math.max(symbolImage.height, label.height) + 14
    Accessible.selectable: true
    Accessible.selected: current

    Rectangle {
        anchors.fill: parent
        radius: button.radius
        color: button.current ? Theme.selection : Theme.hover
        visible: button.current || button.hovered
    }

    SymbolImage {
        id: symbolImage
        x: 9 + Math.round((18 - width) / 2)
        anchors.verticalCenter: parent.verticalCenter
        name: button.symbol
    }

    Label {
        id: label
        x: 9 + 18 + 9
        anchors.verticalCenter: parent.verticalCenter
        text: button.title
        font.weight: Font.Medium
        opacity: button.collapsed ? 0 : 1
        visible: opacity > 0
        Accessible.ignored: true

        Behavior on opacity {
            NumberAnimation {
                duration: 160
            }
        }
    }
}
