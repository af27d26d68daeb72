import QtQuick
import Tavrik

// What came of it, in the words of whoever said so.
Label {
    width: 300
    visible: text !== ""
    size: 12
    color: Theme.error
    horizontalAlignment: Text.AlignHCenter
    wrapMode: Text.Wrap
    // A server may say more than there is room for.
    maximumLineCount: 8
    elide: Text.ElideRight
}
