import QtQuick
import Tavrik.Window

// The rows of a model, made as they come into view.
ListView {
    id: list

    required property TranscriptionModel transcriptions
    required property real inset
    required property real rowWidth
    required property real spaceAbove
    required property real spaceBelow

    readonly property real lastY: originY + Math.max(0, contentHeight - height)
    // Nobody has scrolled: the view stays at its beginning when what lies above the rows grows.
    property bool untouched: true

    function scrollTo(y: real): void {
        contentY = Math.max(originY, Math.min(lastY, y));
        untouched = contentY <= originY;
    }

    function showRow(row: int): void {
        positionViewAtIndex(row, ListView.Contain);
        untouched = false;
    }

    function showEnd(): void {
        positionViewAtEnd();
        untouched = false;
    }

    function focusRow(): void {
        if (currentItem)
            currentItem.forceActiveFocus();
    }

    onOriginYChanged: {
        if (untouched)
            contentY = originY;
    }

    model: transcriptions
    // Otherwise the view would begin at the first row, and not above it.
    currentIndex: -1
    // Until there is a current row, which then takes the list's place.
    activeFocusOnTab: currentIndex < 0 && count > 0
    onActiveFocusChanged: {
        if (activeFocus && currentIndex < 0) {
            currentIndex = Math.max(0, indexAt(inset, contentY + 60));
            focusRow();
        }
    }
    // A drag on a row selects its text; it is the wheel that scrolls.
    interactive: false
    reuseItems: true
    highlightFollowsCurrentItem: true
    highlightMoveDuration: 0
    Accessible.role: Accessible.List
    Accessible.name: "Transcriptions"

    Keys.onUpPressed: {
        decrementCurrentIndex();
        focusRow();
    }
    Keys.onDownPressed: {
        incrementCurrentIndex();
        focusRow();
    }

    header: Item {
        width: list.width
        height: list.spaceAbove
    }
    footer: Item {
        width: list.width
        height: list.spaceBelow
    }

    delegate: TranscriptionRow {
        x: list.inset
        width: list.rowWidth
        transcriptions: list.transcriptions
        current: ListView.isCurrentItem
        // One that waits to be used again is not there for a screen reader either.
        ListView.onPooled: visible = false
        ListView.onReused: visible = true
        onDeleted: Qt.callLater(list.focusRow)
        onActiveFocusChanged: {
            if (activeFocus)
                list.showRow(index);
        }
    }

    WheelHandler {
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        target: null
        onWheel: event => list.scrollTo(list.contentY - (event.pixelDelta.y || event.angleDelta.y / 2))
    }
}
