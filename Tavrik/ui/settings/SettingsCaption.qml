import QtQuick
import Tavrik

// A caption among the tabs.
Label {
    size: Theme.captionSize
    font.weight: Font.DemiBold
    font.letterSpacing: Theme.captionSpacing
    color: Theme.secondary
    leftPadding: 10
    rightPadding: 10
    bottomPadding: 8
    Accessible.role: Accessible.Heading
}
