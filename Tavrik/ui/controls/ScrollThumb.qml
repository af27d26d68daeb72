import QtQuick
import Tavrik

// Shows which part of a list is in view; can be dragged.
Item {
    id: thumb

    required property TranscriptionList list

    readonly property real share: list.height / Math.max(1, list.contentHeight)
    readonly property real room: height - handle.height
    readonly property real hidden: Math.max(1, list.contentHeight - list.height)

    width: 12
    visible: share < 1

    Rectangle {
        id: handle
        anchors.horizontalCenter: parent.horizontalCenter
        y: thumb.room * Math.max(0, Math.min(1, (thumb.list.contentY - thumb.list.originY) / thumb.hidden))
        width: 6
        height: Math.max(32, thumb.height * thumb.share)
        radius: 3
        color: Theme.secondary
        opacity: mouse.containsMouse || mouse.pressed ? 0.6 : 0.25
    }

    MouseArea {
        id: mouse

        property real grip

        anchors.fill: parent
        hoverEnabled: true
        preventStealing: true
        onPressed: event => {
            const onHandle = event.y >= handle.y && event.y <= handle.y + handle.height;
            grip = onHandle ? event.y - handle.y : handle.height / 2;
            drag(event.y);
        }
        onPositionChanged: event => {
            if (pressed)
                drag(event.y);
        }

        function drag(y: real): void {
            const at = Math.max(0, Math.min(1, (y - grip) / Math.max(1, thumb.room)));
            thumb.list.scrollTo(thumb.list.originY + at * thumb.hidden);
        }
    }
}
