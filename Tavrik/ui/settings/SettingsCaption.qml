import QtQuick
import Tavrik

// A caption in the settings' column of tabs.
Label {
    size: 11
    font.weight: Font.DemiBold
    font.letterSpacing: 0.8
    color: Theme.secondary
    leftPadding: 10
    rightPadding: 10
    bottomPadding: 8
}
