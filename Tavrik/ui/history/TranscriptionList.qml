import QtQuick
import Tavrik

// The rows of a model, made as they come into view, with room above and below them.
ListView {
    id: list

    required property TranscriptionModel transcriptions
    required property real spaceAbove
    required property real spaceBelow

    signal copied

    readonly property real lastY: originY + Math.max(0, contentHeight - height)
    // The row of which a finger has asked for the buttons.
    property int tappedIndex: -1
    // Nobody has scrolled: the view stays at its beginning when what lies above the rows grows.
    property bool untouched: true

    function scrollTo(y: real): void {
        untouched = false;
        contentY = Math.max(originY, Math.min(lastY, y));
        untouched = contentY <= originY;
    }

    function showEnd(): void {
        halt();
        untouched = false;
        positionViewAtEnd();
    }

    // Scrolls smoothly, from wherever an earlier glide was to end.
    function glideBy(distance: real): void {
        const from = glide.running ? glide.to : contentY;
        cancelFlick();
        glide.stop();
        glidingY = contentY;
        glide.to = Math.max(originY, Math.min(lastY, from + distance));
        glide.start();
    }

    function halt(): void {
        glide.stop();
        cancelFlick();
    }

    function fling(velocity: real): void {
        untouched = false;
        flick(0, velocity);
    }

    function copy(row: int): void {
        transcriptions.copy(row);
        copied();
    }

    property real glidingY: 0
    onGlidingYChanged: {
        if (glide.running)
            scrollTo(glidingY);
    }
    onMovementEnded: untouched = contentY <= originY
    onCountChanged: tappedIndex = -1

    NumberAnimation {
        id: glide
        target: list
        property: "glidingY"
        duration: 160
        easing.type: Easing.OutCubic
    }

    onOriginYChanged: {
        if (untouched)
            contentY = originY;
    }

    model: transcriptions
    // A drag of the mouse selects text: wheel and finger scroll, which the page sees to.
    interactive: false
    boundsBehavior: Flickable.StopAtBounds
    reuseItems: true
    // Rows made ahead are made piecemeal, which a search that leaves none of them disturbs.
    cacheBuffer: 0
    highlightMoveDuration: 0
    Accessible.role: Accessible.List
    Accessible.name: "Transcriptions"

    // Otherwise the view would begin at the first row, and not above it.
    currentIndex: -1
    // Until there is a current row, which then takes the list's place.
    activeFocusOnTab: currentIndex < 0 && count > 0
    // A text that was clicked keeps the focus.
    onActiveFocusChanged: {
        if (activeFocus && currentIndex < 0 && Window.activeFocusItem === list)
            currentIndex = Math.max(0, indexAt(0, contentY + 60));
    }
    // Also when the row that had the focus was deleted, and another stands in its place.
    onCurrentItemChanged: {
        if (activeFocus && currentItem)
            currentItem.forceActiveFocus();
    }
    onCurrentIndexChanged: untouched = false
    Keys.onUpPressed: decrementCurrentIndex()
    Keys.onDownPressed: incrementCurrentIndex()

    header: Item {}
    footer: Item {}

    Binding {
        target: list.headerItem
        property: "height"
        value: list.spaceAbove
    }

    Binding {
        target: list.footerItem
        property: "height"
        value: list.spaceBelow
    }

    delegate: TranscriptionRow {
        width: ListView.view.width
        transcriptions: ListView.view.model as TranscriptionModel
        current: ListView.isCurrentItem
        tapped: (ListView.view as TranscriptionList).tappedIndex === index
        onCopyChosen: (ListView.view as TranscriptionList).copy(index)
        onActiveFocusChanged: {
            if (activeFocus)
                ListView.view.positionViewAtIndex(index, ListView.Contain);
        }
        // One that waits to be used again is not there for a screen reader either.
        ListView.onPooled: visible = false
        // Qt 6.8 would leave it out of the accessible tree.
        ListView.onReused: {
            visible = true;
            Accessible.ignored = false;
        }
    }
}
