import QtQuick
import Tavrik

// Shows which control the keyboard acts on. Clicks give no control the focus, so it stays out of a mouse's way.
Rectangle {
    anchors.fill: parent
    anchors.margins: -2
    color: "transparent"
    border.width: 2
    border.color: Theme.accent
}
