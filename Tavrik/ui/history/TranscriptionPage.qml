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

    Component.onCompleted: transcriptions.open()
    Component.onDestruction: transcriptions.close()

    WheelHandler {
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        target: null
        onWheel: event => list.scrollTo(list.contentY - (event.pixelDelta.y || event.angleDelta.y / 2))
    }

    Shortcut {
        enabled: page.enabled
        sequence: "PgUp"
        onActivated: list.scrollTo(list.contentY - page.step)
    }

    Shortcut {
        enabled: page.enabled
        sequence: "PgDown"
        onActivated: list.scrollTo(list.contentY + page.step)
    }

    Shortcut {
        enabled: page.enabled
        sequence: "Home"
        onActivated: list.scrollTo(list.originY)
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
    }

    // Scrolled content ends below the window's corner buttons. What moves under something quite opaque leaves traces
    // where it was: the software renderer forgets to draw that place anew.
    Rectangle {
        width: parent.width
        height: page.marginAbove
        visible: page.scrolled > 0
        color: Qt.alpha(Theme.canvas, 0.99)
    }

    ScrollThumb {
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.topMargin: page.marginAbove
        anchors.bottom: parent.bottom
        anchors.bottomMargin: page.margin
        list: list
    }
}
