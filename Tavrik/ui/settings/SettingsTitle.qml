import QtQuick
import Tavrik

// The title of a page of settings.
Label {
    size: Theme.titleSize
    font.weight: Font.DemiBold
    bottomPadding: 6
    Accessible.role: Accessible.Heading
}
