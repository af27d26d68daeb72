import QtQuick
import QtQuick.Templates as T
import Tavrik

// Shows which part of a list is in view; can be dragged. It is in sight while the list moves and under the pointer.
T.ScrollBar {
    id: thumb

    required property TranscriptionList list

    readonly property real scrolled: (list.contentY - list.originY) / Math.max(1, list.contentHeight)
    readonly property bool awake: moved.running || hovered || pressed

    orientation: Qt.Vertical
    size: Math.min(1, list.height / Math.max(1, list.contentHeight))
    minimumSize: Math.min(1, 32 / Math.max(1, height))
    horizontalPadding: 5
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    hoverEnabled: true
    visible: size < 1
    // A finger must not hit what cannot be seen.
    interactive: awake
    // The list itself can be scrolled with the keyboard, and screen readers go from row to row.
    Accessible.ignored: true

    onScrolledChanged: {
        moved.restart();
        if (!pressed)
            position = scrolled;
    }
    onPositionChanged: {
        if (!pressed)
            return;
        list.halt();
        list.scrollTo(list.originY + position * list.contentHeight);
    }

    Timer {
        id: moved
        interval: 1200
    }

    contentItem: Rectangle {
        implicitWidth: 6
        radius: width / 2
        color: thumb.hovered || thumb.pressed ? Theme.secondary : Theme.outline
        opacity: thumb.awake ? 1 : 0

        Behavior on opacity {
            NumberAnimation {
                duration: Theme.appearanceDuration
            }
        }
    }
}
