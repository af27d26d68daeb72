import QtQuick
import Tavrik

// A page that scrolls as a whole: a card that begins with the page's own content and goes on with transcriptions.
Item {
    id: page

    required property TranscriptionModel transcriptions
    // Beside the card, for what stands there.
    property real roomBeside: 0
    // Between the content and the first row.
    property real gap: 0

    readonly property real margin: 16
    readonly property real marginAbove: 44
    readonly property real padding: 26
    readonly property real scrolled: list.contentY - list.originY
    // What the keyboard scrolls by: a line or two stay in view.
    readonly property real step: height - 2 * marginAbove

    default property alias content: column.data
    property alias spacing: column.spacing

    function rowAt(point: point): TranscriptionRow {
        return list.itemAt(point.x - list.x, point.y + list.contentY) as TranscriptionRow;
    }

    function openMenu(point: point): bool {
        const row = rowAt(point);
        row?.openMenu(mapToItem(row, point));
        return row !== null;
    }

    Component.onCompleted: transcriptions.open()
    Component.onDestruction: transcriptions.close()

    WheelHandler {
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        target: null
        onWheel: event => {
            list.tappedIndex = -1;
            if (event.pixelDelta.y === 0)
                return list.glideBy(-event.angleDelta.y / 2);
            // A touchpad says itself how far, and glides on when the fingers have left it.
            list.halt();
            list.scrollTo(list.contentY - event.pixelDelta.y);
        }
    }

    Shortcut {
        enabled: page.enabled
        sequence: "PgUp"
        onActivated: list.glideBy(-page.step)
    }

    Shortcut {
        enabled: page.enabled
        sequence: "PgDown"
        onActivated: list.glideBy(page.step)
    }

    Shortcut {
        enabled: page.enabled
        sequence: "Home"
        onActivated: {
            list.halt();
            list.scrollTo(list.originY);
        }
    }

    Shortcut {
        enabled: page.enabled
        sequence: "End"
        onActivated: list.showEnd()
    }

    // What lies outside the view is not drawn: the card of a long history would be millions of pixels high.
    Card {
        id: card
        readonly property real above: Math.max(page.marginAbove - page.scrolled, -radius)
        readonly property real below: Math.min(list.contentHeight - page.scrolled, page.height + page.margin + radius)
        x: page.margin
        y: above
        width: page.width - 2 * page.margin - page.roomBeside
        height: Math.max(below, page.height) - page.margin - above
    }

    Column {
        id: column
        x: card.x + page.padding
        y: page.marginAbove + page.padding - page.scrolled
        width: card.width - 2 * page.padding
    }

    TranscriptionList {
        id: list
        x: column.x
        width: column.width
        height: page.height
        transcriptions: page.transcriptions
        spaceAbove: page.marginAbove + page.padding + column.height + page.gap
        spaceBelow: page.padding + page.margin
        onCopied: announcer.say("Copied")
    }

    // Above the rows, so that it learns of a finger before a text there does. Leaves all else to what lies below.
    MouseArea {
        anchors.fill: parent
        anchors.rightMargin: thumb.width
        acceptedButtons: Qt.RightButton
        // A finger comes as a left button that it did not ask for.
        onPressed: mouse => mouse.accepted = mouse.button === Qt.RightButton && page.openMenu(Qt.point(mouse.x, mouse.y))

        DragHandler {
            id: finger

            property real startY
            property real speed

            acceptedDevices: PointerDevice.TouchScreen
            target: null
            xAxis.enabled: false
            onActiveChanged: {
                if (active)
                    startY = list.contentY;
                else
                    list.fling(speed);
            }
            onActiveTranslationChanged: {
                if (!active)
                    return;
                speed = centroid.velocity.y;
                list.scrollTo(startY - activeTranslation.y);
            }
        }

        // A finger that comes down stops the list; one that only taps asks for a row's buttons, or for its menu if it stays.
        TapHandler {
            property bool moving

            acceptedDevices: PointerDevice.TouchScreen
            onPressedChanged: {
                if (!pressed)
                    return;
                moving = list.moving;
                list.halt();
            }
            onTapped: point => {
                if (!moving)
                    list.tappedIndex = page.rowAt(point.position)?.index ?? -1;
            }
            onLongPressed: page.openMenu(point.position)
        }
    }

    // Scrolled content ends below the window's corner buttons. What moves under something quite opaque leaves traces
    // where it was: the software renderer forgets to draw that place anew.
    Rectangle {
        width: parent.width
        height: page.marginAbove
        visible: page.scrolled > 0
        color: Qt.alpha(Theme.canvas, 0.99)
    }

    Announcer {
        id: announcer
    }

    ScrollThumb {
        id: thumb
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.topMargin: page.marginAbove
        anchors.bottom: parent.bottom
        anchors.bottomMargin: page.margin
        list: list
    }
}
