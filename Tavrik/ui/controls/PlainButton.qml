import QtQuick
import Tavrik

// A button that looks like what is put into it.
Item {
    id: button

    // For screen readers.
    required property string name
    property string toolTip
    property real radius: 6
    // A double click counts once, for a button that makes room for another in its own place. Does not change.
    property bool countsDoubleClickOnce: false
    readonly property bool hovered: mouse.containsMouse
    readonly property bool pressed: mouse.pressed

    default property alias content: face.data

    signal clicked

    function click(): void {
        if (enabled)
            clicked();
    }

    implicitWidth: face.childrenRect.width
    implicitHeight: face.childrenRect.height
    activeFocusOnTab: enabled

    Accessible.role: Accessible.Button
    Accessible.name: name
    // Nothing else tells a screen reader that a button cannot be used.
    Accessible.focusable: enabled
    Accessible.onPressAction: click()
    Keys.onSpacePressed: event => {
        if (!event.isAutoRepeat)
            click();
    }
    Keys.onReturnPressed: event => {
        if (!event.isAutoRepeat)
            click();
    }
    Keys.onEnterPressed: event => {
        if (!event.isAutoRepeat)
            click();
    }

    Item {
        id: face
        anchors.fill: parent
    }

    FocusRing {
        radius: button.radius + 2
        visible: button.activeFocus
    }

    ToolTipArea {
        anchors.fill: parent
        text: button.toolTip
        hovered: button.toolTip !== "" && mouse.containsMouse && !mouse.pressed
    }

    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        onClicked: button.click()
        Component.onCompleted: {
            // Where somebody listens to it, the second click is reported as this alone.
            if (button.countsDoubleClickOnce)
                doubleClicked.connect(() => {});
        }
    }
}
