import QtQuick
import Tavrik

// One of the program's symbols, scaled to go with text of the given size.
Image {
    id: image

    required property string name
    property real size: Theme.textSize
    property color colour: Theme.primary

    readonly property int side: Math.round(size * 1.25)

    width: side
    height: side
    sourceSize.width: side * Screen.devicePixelRatio
    sourceSize.height: side * Screen.devicePixelRatio
    source: name === "" ? "" : "image://symbols/" + name + "/" + colour.toString().slice(1)
}
