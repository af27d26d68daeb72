import QtQuick
import QtQuick.Templates as T
import Tavrik

// A switch without a label of its own; `text` is its accessible name.
T.Switch {
    id: toggleSwitch

    function press(): void {
        if (!enabled)
            return;
        toggle();
        toggled();
    }

    implicitWidth: implicitIndicatorWidth
    implicitHeight: implicitIndicatorHeight
    focusPolicy: Qt.TabFocus

    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.focusable: enabled
    Accessible.onPressAction: press()
    Accessible.onToggleAction: press()
    Keys.onReturnPressed: event => {
        if (!event.isAutoRepeat)
            press();
    }
    Keys.onEnterPressed: event => {
        if (!event.isAutoRepeat)
            press();
    }

    indicator: Rectangle {
        implicitWidth: 38
        implicitHeight: 22
        radius: height / 2
        color: toggleSwitch.checked ? Theme.accent : Theme.outline
        border.width: toggleSwitch.checked ? Theme.hairline : 0
        border.color: Theme.accentOutline

        Behavior on color {
            ColorAnimation {
                duration: Theme.openDuration
            }
        }

        Rectangle {
            x: 2 + toggleSwitch.visualPosition * (parent.width - width - 4)
            y: 2
            width: 18
            height: 18
            radius: height / 2
            color: Theme.handle
            border.width: toggleSwitch.checked ? Theme.hairline : 0
            border.color: Theme.accentOutline

            Behavior on x {
                enabled: !toggleSwitch.pressed

                NumberAnimation {
                    duration: Theme.openDuration
                    easing.type: Easing.OutQuad
                }
            }
        }
    }

    // The room that a row leaves above and below it takes clicks too.
    containmentMask: Item {
        parent: toggleSwitch
        x: -8
        y: -8
        width: toggleSwitch.width + 16
        height: toggleSwitch.height + 16
    }

    FocusRing {
        radius: height / 2
        visible: toggleSwitch.activeFocus
    }
}
