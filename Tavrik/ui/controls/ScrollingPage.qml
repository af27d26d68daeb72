import QtQuick
import QtQuick.Templates as T
import Tavrik

// A page that scrolls where the window is too low for it. What gets the keyboard comes into view.
Flickable {
    id: page

    // Around what comes into view.
    readonly property real margin: 24
    readonly property Item focused: Window.activeFocusItem

    function holds(item: Item): bool {
        while (item !== null && item !== contentItem)
            item = item.parent;
        return item !== null;
    }

    boundsBehavior: Flickable.StopAtBounds
    clip: true
    onFocusedChanged: {
        if (height <= 0 || !holds(focused))
            return;
        const top = contentItem.mapFromItem(focused, 0, 0).y - margin;
        const bottom = top + focused.height + 2 * margin;
        contentY = Math.max(0, Math.min(top, Math.max(contentY, bottom - height), contentHeight - height));
    }

    T.ScrollBar.vertical: T.ScrollBar {
        horizontalPadding: 5
        verticalPadding: Theme.sheetRadius
        implicitWidth: implicitContentWidth + leftPadding + rightPadding
        visible: size < 1
        Accessible.ignored: true

        contentItem: Rectangle {
            implicitWidth: 6
            radius: width / 2
            color: Theme.outline
        }
    }
}
