import QtQuick
import Tavrik

// A text as it stands, whatever it holds.
Text {
    property real size: 13

    textFormat: Text.PlainText
    color: Theme.primary
    font.pixelSize: size
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
