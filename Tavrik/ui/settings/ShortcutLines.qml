import QtQuick
import Tavrik

// Lines for the desktop's configuration, ready to copy.
Column {
    id: lines

    required property ShortcutStatus status

    width: parent.width
    spacing: 8
    visible: status.bindingLines !== ""

    Label {
        width: parent.width
        text: lines.status.bindingPlace
        size: Theme.smallSize
        color: Theme.secondary
        wrapMode: Text.Wrap
    }

    Rectangle {
        width: parent.width
        height: Math.max(code.height, copy.height) + 16
        radius: Theme.fieldRadius
        color: Theme.canvas
        border.width: Theme.hairline
        border.color: Theme.border

        Label {
            id: code
            x: 10
            anchors.verticalCenter: parent.verticalCenter
            width: copy.x - 2 * x
            text: lines.status.bindingLines
            size: Theme.captionSize
            font.family: "monospace"
            wrapMode: Text.WrapAnywhere
        }

        PushButton {
            id: copy
            x: parent.width - width - 8
            y: 8
            text: "Copy"
            size: Theme.smallSize
            onClicked: lines.status.copyBindings()
        }
    }
}
