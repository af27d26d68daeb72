import QtQuick
import Tavrik

// Shows the shortcut, and records another.
PlainButton {
    id: button

    required property ShortcutRecorder recorder
    // Which keys the shown signs mean.
    required property string note

    readonly property string shown: recorder.recording ? "Press keys…" : recorder.display

    text: "Shortcut: " + shown
    Accessible.description: recorder.recording ? toolTip : note
    toolTip: "Click, then press the new shortcut. Esc cancels."
    horizontalPadding: 10
    verticalPadding: 5
    implicitWidth: Math.max(90, implicitContentWidth) + leftPadding + rightPadding
    onClicked: recorder.toggle()

    background: Rectangle {
        radius: button.radius
        color: Theme.card
        border.width: Theme.hairline
        border.color: button.recorder.recording ? Theme.accent : Theme.border
    }

    contentItem: Label {
        text: button.shown
        size: Theme.smallSize
        font.weight: Font.Medium
        color: button.recorder.recording ? Theme.accent : Theme.primary
        horizontalAlignment: Text.AlignHCenter
        Accessible.ignored: true
    }
}
