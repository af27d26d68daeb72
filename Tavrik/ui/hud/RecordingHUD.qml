import QtQuick
import Tavrik

// The panel's content: a dark pill, and around it the room for its shadow.
Item {
    id: root

    required property HUDModel model
    property bool translucent: true
    readonly property rect pillRect: Qt.rect(pill.x, pill.y, pill.width, pill.height)
    readonly property int margin: 24
    readonly property int shadowOffset: 8
    readonly property real horizontalPadding: 7
    readonly property real verticalPadding: 6
    readonly property real spacing: 9

    width: pill.width + 2 * margin
    height: pill.height + 2 * margin + shadowOffset

    // Never while recording: the microphone would hear it.
    Announcer {
        text: root.model.processing ? translating.text : ""
    }

    PillShadow {
        anchors.fill: parent
        visible: root.translucent
        capsule: root.pillRect
    }

    Rectangle {
        id: pill
        x: root.margin
        y: root.margin
        width: confirm.x + confirm.width + root.horizontalPadding
        height: cancel.height + 2 * root.verticalPadding + (hint.visible && !root.model.note ? 12 : 0)
        // Without translucency the window itself is cut to the shape.
        radius: root.translucent ? height / 2 : 0
        color: root.translucent ? Theme.panel : Theme.panelOpaque

        HUDButton {
            id: cancel
            x: root.horizontalPadding
            anchors.verticalCenter: parent.verticalCenter
            symbol: "xmark"
            prominent: false
            toolTip: "Cancel"
            visible: !root.model.note
            onClicked: root.model.cancel()
        }

        Item {
            id: middle
            x: cancel.x + cancel.width + root.spacing
            width: hint.visible ? Math.max(84, Math.ceil(hint.implicitWidth)) : 84
            height: parent.height

            WaveBars {
                anchors.centerIn: parent
                anchors.verticalCenterOffset: hint.visible ? -7 : 0
                width: 84
                height: 16
                color: Theme.panelBar
                visible: !root.model.processing && !root.model.note
                model: root.model
            }

            Text {
                id: hint
                anchors.horizontalCenter: parent.horizontalCenter
                y: root.model.note ? (parent.height - height) / 2 : parent.height - height - 8
                visible: text !== "" && !root.model.processing
                text: root.model.hint
                textFormat: Text.PlainText
                color: Theme.panelText
                font.pointSize: Theme.points(10.5, Screen.logicalPixelDensity)
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }

            Row {
                anchors.centerIn: parent
                spacing: 6
                visible: root.model.processing

                Spinner {
                    anchors.verticalCenter: parent.verticalCenter
                    width: 10
                    height: 10
                    color: Theme.panelText
                    running: visible && Window.visibility !== Window.Hidden
                }

                Text {
                    id: translating
                    anchors.verticalCenter: parent.verticalCenter
                    text: "Translating…"
                    textFormat: Text.PlainText
                    color: Theme.panelText
                    font.pointSize: Theme.points(10.5, Screen.logicalPixelDensity)
                    font.weight: Font.Medium
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
        }

        HUDButton {
            id: confirm
            x: middle.x + middle.width + root.spacing
            anchors.verticalCenter: parent.verticalCenter
            symbol: "checkmark"
            prominent: true
            toolTip: "Finish and paste"
            visible: !root.model.note
            onClicked: root.model.confirm()
        }
    }
}
