import QtQuick
import Tavrik

// A line between two rows.
Rectangle {
    x: Theme.cardPadding
    width: parent.width - 2 * x
    height: Theme.hairline
    color: Theme.border
}
