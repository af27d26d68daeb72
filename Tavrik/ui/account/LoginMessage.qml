import QtQuick
import Tavrik

// Error or notice text, as the service worded it.
Label {
    width: Theme.signInWidth
    visible: text !== ""
    size: Theme.smallSize
    color: Theme.error
    horizontalAlignment: Text.AlignHCenter
    wrapMode: Text.Wrap
    // A service may say more than there is room for.
    maximumLineCount: 8
    elide: Text.ElideRight
}
