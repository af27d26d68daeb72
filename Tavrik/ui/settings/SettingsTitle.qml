import QtQuick
import Tavrik

// The title of a page of settings.
Label {
    size: 23
    font.weight: Font.DemiBold
    bottomPadding: 6
    Accessible.role: Accessible.Heading
}
