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
    // A finger has asked for the buttons.
    property bool tapped: false

    signal copyChosen

    function openMenu(at: point): void {
        PopupMenu.open(row, at, [
            {
                text: "Copy",
                enabled: true,
                run: () => words.selectedText === "" ? row.copyChosen() : words.copy()
            }
        ]);
    }

    implicitHeight: body.y + body.height
    Accessible.role: Accessible.ListItem
    Accessible.name: text
    Accessible.description: time
    Accessible.focusable: true
    activeFocusOnTab: current || activeFocus
    Keys.onMenuPressed: openMenu(Qt.point(words.x, height))
    Keys.onPressed: event => {
        event.accepted = true;
        if (event.matches(StandardKey.Copy))
            copyChosen();
        else if (event.key === Qt.Key_F10 && event.modifiers === Qt.ShiftModifier)
            openMenu(Qt.point(words.x, height));
        else
            event.accepted = false;
    }
    // What the next row draws must not cut the focus ring.
    z: activeFocus ? 1 : 0

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
            border.width: Theme.hairline
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
            opacity: pointer.hovered || row.tapped || row.copied || row.activeFocus || copy.activeFocus || trash.activeFocus ? 1 : 0

            // So short that nobody waits for it. But a click that comes with the pointer, as that of a finger far away
            // does, was not meant for a button that was not there.
            Behavior on opacity {
                NumberAnimation {
                    duration: 60
                }
            }

            IconButton {
                id: copy
                symbol: row.copied ? "checkmark" : "doc.on.doc"
                colour: row.copied ? Theme.success : Theme.secondary
                // In the symbols' common square the check mark is much smaller than the others.
                size: row.copied ? 16 : 11
                padding: row.copied ? 0 : 3
                horizontalReach: buttons.spacing / 2
                verticalReach: buttons.y
                clickable: buttons.opacity === 1
                text: "Copy"
                focusPolicy: row.current || activeFocus ? Qt.TabFocus : Qt.NoFocus
                onClicked: row.copyChosen()
            }

            IconButton {
                id: trash
                symbol: "trash"
                size: 11
                padding: 3
                text: "Delete"
                horizontalReach: buttons.spacing / 2
                verticalReach: buttons.y
                clickable: buttons.opacity === 1
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
