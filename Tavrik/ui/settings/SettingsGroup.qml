import QtQuick
import Tavrik

// Rows of settings on one surface.
Rectangle {
    default property alias rows: column.data

    width: parent.width
    height: column.height
    radius: Theme.groupRadius
    color: Theme.inset
    border.width: Theme.hairline
    border.color: Theme.border

    Column {
        id: column
        width: parent.width
    }
}
