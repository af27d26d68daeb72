pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tavrik

// One choice of a few, side by side. An option has a value, a label and perhaps a symbol.
Rectangle {
    id: picker

    required property string name
    required property var options
    required property string value

    signal chosen(string value)

    readonly property int current: options.findIndex(option => option.value === value)

    function move(step: int): void {
        const next = Math.max(0, Math.min(options.length - 1, current + step));
        segments.itemAt(next).forceActiveFocus();
        chosen(options[next].value);
    }

    implicitWidth: row.implicitWidth + 2 * row.x
    implicitHeight: row.implicitHeight + 2 * row.y
    radius: Theme.fieldRadius
    color: Theme.canvas
    border.width: Theme.hairline
    border.color: Theme.border
    Accessible.role: Accessible.Grouping
    Accessible.name: name

    Row {
        id: row
        x: 2
        y: 2
        spacing: 2

        Repeater {
            id: segments
            model: picker.options

            // A button of Templates that is told to be a radio button by Accessible is none for the accessibility bus.
            T.RadioButton {
                id: segment

                required property var modelData
                required property int index
                readonly property bool isCurrent: index === picker.current
                readonly property color ink: isCurrent ? Theme.primary : Theme.secondary

                text: modelData.label
                horizontalPadding: 10
                verticalPadding: 5
                implicitWidth: implicitContentWidth + leftPadding + rightPadding
                implicitHeight: implicitContentHeight + topPadding + bottomPadding
                hoverEnabled: true
                // One tab stop for the group, like any set of radio buttons; the arrows move within it.
                focusPolicy: isCurrent || activeFocus || (picker.current < 0 && index === 0) ? Qt.TabFocus : Qt.NoFocus
                onClicked: picker.chosen(modelData.value)
                Keys.onLeftPressed: picker.move(-1)
                Keys.onUpPressed: picker.move(-1)
                Keys.onRightPressed: picker.move(1)
                Keys.onDownPressed: picker.move(1)
                Keys.onReturnPressed: clicked()
                Keys.onEnterPressed: clicked()
                checked: isCurrent
                Accessible.name: text
                Accessible.focusable: enabled
                Accessible.onPressAction: clicked()
                Accessible.onToggleAction: clicked()
                containmentMask: Item {
                    parent: segment
                    x: -row.spacing / 2
                    y: -row.y
                    width: segment.width - 2 * x
                    height: segment.height - 2 * y
                }

                background: Rectangle {
                    radius: Theme.controlRadius
                    color: Theme.card
                    border.width: Theme.hairline
                    border.color: Theme.outline
                    visible: segment.isCurrent
                }

                FocusRing {
                    radius: Theme.controlRadius + Theme.focusWidth
                    visible: segment.activeFocus
                }

                contentItem: Row {
                    spacing: 5

                    SymbolImage {
                        anchors.verticalCenter: parent.verticalCenter
                        visible: name !== ""
                        name: segment.modelData.symbol ?? ""
                        size: 10.5
                        colour: segment.ink
                    }

                    Label {
                        anchors.verticalCenter: parent.verticalCenter
                        text: segment.text
                        size: Theme.smallSize
                        font.weight: Font.Medium
                        color: segment.ink
                        Accessible.ignored: true
                    }
                }
            }
        }
    }
}
