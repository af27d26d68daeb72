import QtQuick
import Tavrik

// Between two rows.
Rectangle {
    x: 16
    width: parent.width - 32
    height: 1
    color: Theme.border
}
