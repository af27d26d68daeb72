import QtQuick
import Tavrik

// The panel's content: a dark pill, and round it the room its shadow needs.
Item {
    id: root

    required property HUDModel model
    property bool translucent: true
    readonly property rect pillRect: Qt.rect(pill.x, pill.y, pill.width, pill.height)
    readonly property int margin: 24
    readonly property int shadowOffset: 8

    width: pill.width + 2 * margin
    height: pill.height + 2 * margin + shadowOffset

    PillShadow {
        anchors.fill: parent
        visible: root.translucent
        capsule: root.pillRect
    }

    Rectangle {
        id: pill
        x: root.margin
        y: root.margin
        width: 7 + cancel.width + 9 + middle.width + 9 + confirm.width + 7
        height: 6 + cancel.height + 6
        // Without translucency the window itself is cut to the shape.
        radius: root.translucent ? height / 2 : 0
        color: Qt.rgba(0.09, 0.09, 0.10, root.translucent ? 0.94 : 1)

        HUDButton {
            id: cancel
            x: 7
            y: 6
            symbol: "xmark"
            prominent: false
            toolTip: "Cancel"
            onClicked: root.model.cancel()
        }

        Item {
            id: middle
            x: cancel.x + cancel.width + 9
            width: 84
            height: parent.height

            WaveBars {
                anchors.centerIn: parent
                width: parent.width
                height: 16
                visible: !root.model.processing
                model: root.model
            }

            Row {
                anchors.centerIn: parent
                spacing: 6
                visible: root.model.processing

                Spinner {
                    anchors.verticalCenter: parent.verticalCenter
                    width: 10
                    height: 10
                    running: visible && Window.visibility !== Window.Hidden
                }

                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: "Translating…"
                    textFormat: Text.PlainText
                    color: Qt.rgba(1, 1, 1, 0.85)
                    // 10.5 device-independent pixels: a pixel size holds no fraction.
                    font.pointSize: 10.5 * 72 / (25.4 * Screen.logicalPixelDensity)
                    font.weight: Font.Medium
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
        }

        HUDButton {
            id: confirm
            x: middle.x + middle.width + 9
            y: 6
            symbol: "checkmark"
            prominent: true
            toolTip: "Finish and paste"
            onClicked: root.model.confirm()
        }
    }
}
