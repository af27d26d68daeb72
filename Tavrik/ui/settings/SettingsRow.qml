import QtQuick
import Tavrik

// One setting: what it is, and the control that changes it.
Item {
    id: row

    required property string title
    property string subtitle
    // A line below that asks for attention.
    property string note
    default property alias control: controls.data

    width: parent.width
    height: Math.max(texts.height, controls.height) + 28 + (noteLabel.visible ? noteLabel.height + 8 : 0)

    Column {
        id: texts
        x: 16
        y: 14 + Math.max(0, (controls.height - height) / 2)
        width: parent.width - 48 - controls.width
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
            size: 12
            color: Theme.secondary
            wrapMode: Text.Wrap
        }
    }

    Item {
        id: controls
        x: parent.width - width - 16
        y: 14 + Math.max(0, (texts.height - height) / 2)
        width: childrenRect.width
        height: childrenRect.height
    }

    Label {
        id: noteLabel
        x: 16
        y: parent.height - height - 14
        width: parent.width - 32
        text: row.note
        visible: text !== ""
        size: 12
        color: Theme.warning
        wrapMode: Text.Wrap
    }
}
