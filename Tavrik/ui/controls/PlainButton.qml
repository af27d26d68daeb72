import QtQuick
import QtQuick.Templates as T
import Tavrik

// A button that looks like its content. `text` is its accessible name.
T.AbstractButton {
    id: button

    property string toolTip
    property real radius: Theme.controlRadius
    // How far beyond its edges it takes clicks, where there is room.
    property real horizontalReach: 0
    property real verticalReach: 0
    // Whether the mouse and a finger get at it, as they must not where it cannot be seen.
    property bool clickable: true
    // The second click of a double click does nothing: for a button whose place another takes at the first.
    // Does not change.
    property bool ignoresDoubleClick: false

    function press(): void {
        if (enabled)
            clicked();
    }

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    hoverEnabled: true
    // Nothing else tells a screen reader that a button is disabled.
    focusPolicy: enabled ? Qt.TabFocus : Qt.NoFocus

    Accessible.name: text
    Accessible.focusable: enabled
    Accessible.onPressAction: press()
    Keys.onReturnPressed: event => {
        if (!event.isAutoRepeat)
            press();
    }
    Keys.onEnterPressed: event => {
        if (!event.isAutoRepeat)
            press();
    }
    Component.onCompleted: {
        // With a listener the second click is reported as a double click only.
        if (ignoresDoubleClick)
            doubleClicked.connect(() => {});
    }

    containmentMask: Item {
        parent: button
        x: -button.horizontalReach
        y: -button.verticalReach
        width: button.clickable ? button.width - 2 * x : 0
        height: button.height - 2 * y
    }

    FocusRing {
        radius: button.radius + Theme.focusWidth
        visible: button.activeFocus
    }

    ToolTipArea {
        anchors.fill: parent
        text: button.toolTip
        fill: Theme.card
        ink: Theme.primary
        edge: Theme.outline
        hovered: button.toolTip !== "" && button.hovered && !button.pressed
    }
}
