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
            duration: Theme.sheetDuration
            easing.type: Easing.OutQuad
        }
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.shade
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
            corner: Theme.sheetRadius
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
            radius: Theme.sheetRadius
            color: "transparent"
            border.width: Theme.hairline
            border.color: Theme.border
        }
    }
}
