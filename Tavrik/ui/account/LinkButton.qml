import QtQuick
import Tavrik

// A button that is only its words, underlined while the pointer is over them. It can be hit beside them too.
Item {
    id: link

    required property string text
    property string accessibleName: text
    property real size: Theme.textSize
    property int weight: Font.Normal
    property color colour: Theme.primary

    signal clicked

    readonly property real reach: 6

    implicitWidth: button.implicitWidth - 2 * reach
    implicitHeight: button.implicitHeight - 2 * reach

    PlainButton {
        id: button
        x: -link.reach
        y: -link.reach
        padding: link.reach
        text: link.accessibleName
        onClicked: link.clicked()

        contentItem: Label {
            text: link.text
            size: link.size
            font.weight: link.weight
            font.underline: button.hovered
            color: button.hovered ? Theme.primary : link.colour
            Accessible.ignored: true
        }
    }
}
