import QtQuick
import Tavrik

// One setting: its title, and the control that changes it.
Item {
    id: row

    required property string title
    property string subtitle
    property string note
    // What stands below, over the whole width.
    property alias below: extras.data
    default property alias control: controls.data

    width: parent.width
    height: Math.max(texts.height, controls.height) + 2 * Theme.rowPadding + (extras.height > 0 ? extras.height + 8 : 0)

    Column {
        id: texts
        x: Theme.cardPadding
        y: Theme.rowPadding + Math.max(0, (controls.height - height) / 2)
        width: parent.width - 3 * Theme.cardPadding - controls.width
        spacing: 2

        Label {
            width: parent.width
            text: row.title
            font.weight: Font.Medium
            elide: Text.ElideRight
        }

        Label {
            width: parent.width
            text: row.subtitle
            visible: text !== ""
            size: Theme.smallSize
            color: Theme.secondary
            wrapMode: Text.Wrap
        }

        Label {
            width: parent.width
            text: row.note
            visible: text !== ""
            size: Theme.smallSize
            color: Theme.secondary
            wrapMode: Text.Wrap
        }
    }

    Item {
        id: controls
        x: parent.width - width - Theme.cardPadding
        y: Theme.rowPadding + Math.max(0, (texts.height - height) / 2)
        width: childrenRect.width
        height: childrenRect.height
    }

    Column {
        id: extras
        x: Theme.cardPadding
        y: parent.height - height - Theme.rowPadding
        width: parent.width - 2 * Theme.cardPadding
        spacing: 8
    }
}
