import QtQuick
import Tavrik

// What is wrong with the shortcut, and the button that may put it right.
Item {
    id: notice

    required property string text
    property string remedy

    signal applied

    width: parent.width
    height: Math.max(label.height, button.visible ? button.height : 0)
    visible: text !== ""

    Label {
        id: label
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width - (button.visible ? button.width + Theme.cardPadding : 0)
        text: notice.text
        size: Theme.smallSize
        color: Theme.warning
        wrapMode: Text.Wrap
    }

    PushButton {
        id: button
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        text: notice.remedy
        size: Theme.smallSize
        visible: text !== ""
        onClicked: notice.applied()
    }
}
