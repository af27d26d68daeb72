import QtQuick
import Tavrik

// Stands in for an empty list.
Rectangle {
    id: hint

    required property bool searching
    // Which keys the shortcut's signs mean.
    required property string note

    implicitHeight: words.height + 40
    color: "transparent"
    radius: Theme.listRadius
    border.width: Theme.hairline
    border.color: Theme.border

    SymbolImage {
        id: symbol
        x: 20
        anchors.verticalCenter: parent.verticalCenter
        name: hint.searching ? "magnifyingglass" : "mic"
        colour: Theme.secondary
    }

    Column {
        id: words
        anchors.left: symbol.right
        anchors.leftMargin: 10
        anchors.right: parent.right
        anchors.rightMargin: 20
        anchors.verticalCenter: parent.verticalCenter
        spacing: 4

        Label {
            width: parent.width
            text: hint.searching ? "No matches."
                                 : "Nothing yet today. Hold ⌥ Space, speak Persian, release — the English text lands here."
            wrapMode: Text.Wrap
            color: Theme.secondary
        }

        Label {
            width: parent.width
            visible: text !== ""
            text: hint.searching ? "" : hint.note
            size: Theme.smallSize
            wrapMode: Text.Wrap
            color: Theme.secondary
        }
    }
}
