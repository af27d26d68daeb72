import QtQuick
import Tavrik

// The surface that a page's content stands on.
Rectangle {
    color: Theme.card
    radius: 14
    border.width: 1
    border.color: Theme.border
}
