import QtQuick
import Tavrik

// Plain text, whatever it holds.
Text {
    property real size: Theme.textSize

    textFormat: Text.PlainText
    color: Theme.primary
    font.pixelSize: size
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
