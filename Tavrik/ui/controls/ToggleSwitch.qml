import QtQuick
import Tavrik

// A switch; what it is for stands beside it.
PlainButton {
    id: toggle

    required property bool on

    implicitWidth: 38
    implicitHeight: 22
    radius: 11

    Accessible.role: Accessible.CheckBox
    Accessible.checkable: true
    Accessible.checked: on
    Accessible.onToggleAction: click()

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: toggle.on ? Theme.accent : Theme.track

        Behavior on color {
            ColorAnimation {
                duration: 120
            }
        }
    }

    Rectangle {
        x: toggle.on ? parent.width - width - 2 : 2
        y: 2
        width: 18
        height: 18
        radius: 9
        color: "white"

        Behavior on x {
            NumberAnimation {
                duration: 120
                easing.type: Easing.OutQuad
            }
        }
    }
}
