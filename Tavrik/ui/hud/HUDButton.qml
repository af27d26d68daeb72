import QtQuick
import Tavrik

// A round button of the panel. It is no control of Templates: loading them would delay the first panel, which never
// has the keyboard focus.
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
        color: {
            if (button.prominent)
                return mouse.containsMouse ? Theme.panelProminentButtonHover : Theme.panelProminentButton;
            return mouse.containsMouse ? Theme.panelButtonHover : Theme.panelButton;
        }
    }

    // At this size the symbol's stroke has the weight of bold text of 9.5 points.
    Image {
        readonly property color colour: button.prominent ? Theme.panelProminentSymbol : Theme.panelSymbol

        anchors.centerIn: parent
        sourceSize.width: 20
        sourceSize.height: 20
        source: "image://symbols/" + button.symbol + "/" + colour.toString().slice(1)
    }

    ToolTipArea {
        anchors.fill: parent
        text: button.toolTip
        fill: Theme.panelOpaque
        ink: Theme.panelText
        edge: Theme.panelButtonHover
        hovered: mouse.containsMouse && !mouse.pressed
    }

    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        onClicked: button.clicked()
    }
}
