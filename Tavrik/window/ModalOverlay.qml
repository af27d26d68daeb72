import QtQuick

// A sheet over a dimmed window. It is made when it is first presented, and kept.
Item {
    id: overlay

    required property bool presented
    required property Component content

    signal dismissed

    // 0 while hidden, 1 while presented.
    property real progress: presented ? 1 : 0

    enabled: presented
    onPresentedChanged: sheet.active = true
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

        Loader {
            id: sheet
            active: false
            sourceComponent: overlay.content
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
