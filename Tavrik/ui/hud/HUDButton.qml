import QtQuick
import Tavrik

// A round button with a symbol, without any of the platform's own look.
Item {
    id: button

    required property string symbol
    required property bool prominent
    required property string toolTip

    signal clicked

    implicitWidth: 22
    implicitHeight: 22

    Accessible.role: Accessible.Button
    Accessible.name: toolTip
    Accessible.onPressAction: clicked()

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: Qt.rgba(1, 1, 1, button.prominent ? (mouse.containsMouse ? 0.85 : 1) : (mouse.containsMouse ? 0.25 : 0.14))
    }

    // The size at which the symbol's stroke has the weight of bold text of 9.5 points.
    Image {
        anchors.centerIn: parent
        sourceSize.width: 20
        sourceSize.height: 20
        source: "image://symbols/" + button.symbol + "/" + (button.prominent ? "ff000000" : "e6ffffff")
    }

    ToolTipArea {
        anchors.fill: parent
        text: button.toolTip
        hovered: mouse.containsMouse && !mouse.pressed
    }

    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        onClicked: button.clicked()
    }
}
