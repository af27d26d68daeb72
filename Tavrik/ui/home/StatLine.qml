import QtQuick
import Tavrik

// One figure and what it counts.
Column {
    required property string value
    required property string label

    spacing: 2
    Accessible.role: Accessible.StaticText
    Accessible.name: value + " " + label

    Label {
        text: parent.value
        size: Theme.titleSize
        font.weight: Font.DemiBold
        Accessible.ignored: true
    }

    Label {
        text: parent.label
        size: Theme.smallSize
        color: Theme.secondary
        Accessible.ignored: true
    }
}
