import QtQuick
import Tavrik

// Outlines the control that has the keyboard focus. Clicks give no button the focus, so mouse users never see it.
Rectangle {
    anchors.fill: parent
    anchors.margins: -Theme.focusWidth
    color: "transparent"
    border.width: Theme.focusWidth
    border.color: Theme.focus
}
