import QtQuick
import Tavrik

// Commands to enter in a terminal, with what they do.
Column {
    id: commands

    required property string title
    required property string lines
    property real widest: Theme.signInWidth

    signal copied(string text)

    width: Math.min(widest, Math.ceil(longest.advanceWidth) + 2 * code.x + 1)
    spacing: 5

    TextMetrics {
        id: longest
        text: commands.lines.split("\n").reduce((one, other) => one.length > other.length ? one : other)
        font: code.font
    }

    Item {
        width: parent.width
        height: caption.height

        Label {
            id: caption
            width: copy.x - 12
            text: commands.title
            size: Theme.smallSize
            color: Theme.secondary
            wrapMode: Text.Wrap
        }

        LinkButton {
            id: copy
            x: parent.width - width
            text: copiedTimer.running ? "Copied" : "Copy"
            accessibleName: "Copy: " + commands.title
            size: Theme.smallSize
            weight: Font.Medium
            onClicked: {
                commands.copied(commands.lines);
                copiedTimer.restart();
            }

            Timer {
                id: copiedTimer
                interval: 1200
            }
        }
    }

    Rectangle {
        width: parent.width
        height: code.height + 16
        radius: Theme.fieldRadius
        color: Theme.card
        border.width: Theme.hairline
        border.color: Theme.border

        Label {
            id: code
            x: 8
            y: 8
            width: parent.width - 2 * x
            text: commands.lines
            size: Theme.captionSize
            font.family: "monospace"
            wrapMode: Text.Wrap
        }
    }
}
