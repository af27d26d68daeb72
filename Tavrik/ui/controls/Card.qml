import QtQuick
import Tavrik

// The surface of a page's content.
Rectangle {
    color: Theme.card
    radius: Theme.cardRadius
    border.width: Theme.hairline
    border.color: Theme.border
}
