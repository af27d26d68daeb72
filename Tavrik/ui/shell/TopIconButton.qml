import QtQuick
import Tavrik

// A button in the window's corner, for a card that is open or not. It can be hit up to the window's edge.
IconButton {
    id: button

    // As far as nothing else is there.
    property real reachRight: 0

    size: 14
    padding: 6
    containmentMask: Item {
        y: -12
        width: button.width + button.reachRight
        height: button.height - y + 4
    }
    checkable: true
    checked: active
    Accessible.onToggleAction: press()
}
