import QtQuick
import Tavrik

// One dictation in a list: when it was, what was said, and what can be done with it. The first of a day carries the
// day's title above it. Rows that follow each other form one frame with round corners.
Item {
    id: row

    required property TranscriptionModel transcriptions
    required property int index
    required property string time
    required property string text
    required property string dayTitle
    required property string dayCaption
    required property bool firstOfDay
    required property bool lastOfDay
    required property bool copied

    // Whether this is the row that the keyboard comes to.
    property bool current: false

    implicitHeight: body.y + body.height
    Accessible.role: Accessible.ListItem
    Accessible.name: text
    Accessible.description: time
    Accessible.focusable: true
    activeFocusOnTab: current || activeFocus
    Keys.onPressed: event => {
        if (event.matches(StandardKey.Copy)) {
            transcriptions.copy(index);
            event.accepted = true;
        }
    }

    Caption {
        id: caption
        y: 24
        visible: row.dayTitle !== ""
        title: row.dayTitle
        text: row.dayCaption
    }

    Item {
        id: body
        y: caption.visible ? caption.y + caption.height + 10 : 0
        width: row.width
        height: words.y + words.height + 13
        clip: true

        HoverHandler {
            id: pointer
        }

        // Its round corners lie outside where no list begins or ends.
        Rectangle {
            y: row.firstOfDay ? 0 : -radius
            width: parent.width
            height: parent.height - y + (row.lastOfDay ? 0 : radius)
            radius: 10
            color: pointer.hovered ? Qt.alpha(Theme.hover, 0.5) : "transparent"
            border.width: 1
            border.color: Theme.border
        }

        Rectangle {
            x: 1
            y: parent.height - 1
            width: parent.width - 2
            height: 1
            visible: !row.lastOfDay
            color: Theme.border
        }

        Label {
            x: 16
            y: 14
            width: 62
            text: row.time
            size: 12
            color: Theme.secondary
        }

        TextEdit {
            id: words
            x: 92
            // The room above the first line is its own.
            y: 10
            width: buttons.x - 14 - x
            text: row.text
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.Wrap
            readOnly: true
            selectByMouse: true
            color: Theme.primary
            selectionColor: Theme.highlight
            selectedTextColor: Theme.primary
            font.pixelSize: 13
            Accessible.ignored: true

            ParagraphFormat {
                document: words.textDocument
                lineDistance: 3
            }
        }

        Row {
            id: buttons
            x: parent.width - width - 13
            y: 11
            spacing: 4
            opacity: pointer.hovered || row.copied || row.activeFocus || copy.activeFocus || trash.activeFocus ? 1 : 0

            IconButton {
                id: copy
                symbol: row.copied ? "checkmark" : "doc.on.doc"
                size: 11
                padding: 3
                text: "Copy"
                Accessible.description: row.copied ? "Copied" : ""
                focusPolicy: row.current || activeFocus ? Qt.TabFocus : Qt.NoFocus
                onClicked: row.transcriptions.copy(row.index)
            }

            IconButton {
                id: trash
                symbol: "trash"
                size: 11
                padding: 3
                text: "Delete"
                ignoresDoubleClick: true
                focusPolicy: row.current || activeFocus ? Qt.TabFocus : Qt.NoFocus
                onClicked: row.transcriptions.remove(row.index)
            }
        }
    }

    FocusRing {
        anchors.fill: body
        radius: 12
        visible: row.activeFocus
    }
}
