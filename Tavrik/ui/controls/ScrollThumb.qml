import QtQuick
import QtQuick.Templates as T
import Tavrik

// Shows which part of a list is in view; can be dragged.
T.ScrollBar {
    id: thumb

    required property TranscriptionList list

    readonly property real scrolled: (list.contentY - list.originY) / Math.max(1, list.contentHeight)

    orientation: Qt.Vertical
    size: Math.min(1, list.height / Math.max(1, list.contentHeight))
    minimumSize: Math.min(1, 32 / Math.max(1, height))
    horizontalPadding: 3
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    hoverEnabled: true
    visible: size < 1

    onScrolledChanged: {
        if (!pressed)
            position = scrolled;
    }
    onPositionChanged: {
        if (pressed)
            list.scrollTo(list.originY + position * list.contentHeight);
    }

    contentItem: Rectangle {
        implicitWidth: 6
        radius: width / 2
        color: Theme.secondary
        opacity: thumb.hovered || thumb.pressed ? 0.6 : 0.25
    }
}
