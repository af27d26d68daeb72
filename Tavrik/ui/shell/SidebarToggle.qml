import QtQuick
import Tavrik

// Collapses or expands the sidebar. It can be hit a little beside it.
IconButton {
    id: button

    required property bool collapsed

    symbol: "sidebar.left"
    text: collapsed ? "Expand sidebar" : "Collapse sidebar"
    containmentMask: Item {
        x: -8
        width: button.width + 16
        height: button.height + 14
    }
}
