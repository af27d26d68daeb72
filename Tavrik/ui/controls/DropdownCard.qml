import QtQuick
import Tavrik

// A card that drops from the window's upper corner while `shown`.
Item {
    id: card

    required property bool shown
    property real padding: Theme.cardPadding
    default property alias content: column.data
    property alias spacing: column.spacing

    implicitHeight: column.height + 2 * padding
    enabled: shown
    visible: opacity > 0
    opacity: shown ? 1 : 0
    transform: Translate {
        y: 4 * (card.opacity - 1)
    }

    Behavior on opacity {
        NumberAnimation {
            duration: Theme.openDuration
            easing.type: Easing.OutQuad
        }
    }

    BoxShadow {
        corner: Theme.groupRadius
        blur: 18
        offset: 6
        darkness: 0.16
    }

    Card {
        anchors.fill: parent
        radius: Theme.groupRadius
    }

    // Clicks beside the card's controls must not reach what lies below.
    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
    }

    Column {
        id: column
        x: card.padding
        y: card.padding
        width: card.width - 2 * card.padding
    }
}
