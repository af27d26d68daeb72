import QtQuick
import Tavrik

// Shows the shortcut, and records another.
PlainButton {
    id: button

    required property ShortcutRecorder recorder

    readonly property string shown: recorder.recording ? "Press keys…" : recorder.display

    name: "Shortcut: " + shown
    toolTip: "Click, then press the new shortcut. Esc cancels."
    implicitWidth: Math.max(90, label.implicitWidth) + 20
    implicitHeight: label.implicitHeight + 10
    onClicked: recorder.toggle()

    Rectangle {
        anchors.fill: parent
        radius: button.radius
        color: Theme.card
        border.width: 1
        border.color: button.recorder.recording ? Theme.accent : Theme.border
    }

    Label {
        id: label
        anchors.centerIn: parent
        text: button.shown
        size: 12
        font.weight: Font.Medium
        color: button.recorder.recording ? Theme.accent : Theme.primary
        Accessible.ignored: true
    }
}
