import QtQuick
import Tavrik

// A row of the sidebar: a symbol and, unless it is collapsed, a title.
PlainButton {
    id: button

    required property string symbol
    property bool collapsed: false
    property bool current: false

    toolTip: text
    radius: Theme.fieldRadius
    horizontalPadding: 9
    verticalPadding: 7
    Accessible.selectable: true
    Accessible.selected: current

    background: Rectangle {
        radius: button.radius
        color: button.current ? Theme.selection : Theme.hover
        border.width: button.current ? Theme.hairline : 0
        border.color: Theme.outline
        visible: button.current || button.hovered
    }

    contentItem: Row {
        spacing: 9

        Item {
            anchors.verticalCenter: parent.verticalCenter
            width: 18
            height: childrenRect.height

            SymbolImage {
                anchors.horizontalCenter: parent.horizontalCenter
                name: button.symbol
            }
        }

        Label {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            font.weight: Font.Medium
            opacity: button.collapsed ? 0 : 1
            Accessible.ignored: true

            Behavior on opacity {
                NumberAnimation {
                    duration: 160
                }
            }
        }
    }
}
