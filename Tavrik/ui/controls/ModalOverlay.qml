import QtQuick
import Tavrik

// A sheet over a dimmed window.
Item {
    id: overlay

    required property bool presented
    default property alias content: sheet.data

    signal dismissed

    // 0 while hidden, 1 while presented.
    property real progress: presented ? 1 : 0

    enabled: presented
    visible: progress > 0

    Behavior on progress {
        NumberAnimation {
            duration: 140
            easing.type: Easing.OutQuad
        }
    }

    Rectangle {
        anchors.fill: parent
        color: "black"
        opacity: 0.25 * overlay.progress
    }

    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        onClicked: overlay.dismissed()
        onWheel: {}
    }

    Item {
        anchors.centerIn: parent
        width: sheet.width
        height: sheet.height
        scale: 0.97 + 0.03 * overlay.progress
        opacity: overlay.progress

        BoxShadow {
            corner: 16
            blur: 34
            offset: 12
            darkness: 0.28
        }

        MouseArea {
            anchors.fill: parent
        }

        Item {
            id: sheet
            width: childrenRect.width
            height: childrenRect.height
        }

        Rectangle {
            anchors.fill: parent
            radius: 16
            color: "transparent"
            border.width: 1
            border.color: Theme.border
        }
    }
}
