pragma ComponentBehavior: Bound

import QtQuick
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

    implicitWidth: row.implicitWidth + 4
    implicitHeight: row.implicitHeight + 4
    radius: 8
    color: Theme.canvas
    border.width: 1
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

            PlainButton {
                id: segment

                required property var modelData
                required property int index
                readonly property bool isCurrent: index === picker.current

                name: modelData.label
                implicitWidth: content.implicitWidth + 20
                implicitHeight: content.implicitHeight + 10
                // One stop for the whole group, as with any set of choices; the arrows move within it.
                activeFocusOnTab: isCurrent || activeFocus || (picker.current < 0 && index === 0)
                onClicked: picker.chosen(modelData.value)
                Keys.onLeftPressed: picker.move(-1)
                Keys.onRightPressed: picker.move(1)
                Accessible.role: Accessible.RadioButton
                Accessible.checkable: true
                Accessible.checked: isCurrent
                Accessible.onToggleAction: click()

                Rectangle {
                    anchors.fill: parent
                    radius: 6
                    color: Theme.card
                    visible: segment.isCurrent
                }

                Row {
                    id: content
                    anchors.centerIn: parent
                    spacing: 5

                    SymbolImage {
                        anchors.verticalCenter: parent.verticalCenter
                        visible: name !== ""
                        name: segment.modelData.symbol ?? ""
                        size: 10.5
                    }

                    Label {
                        anchors.verticalCenter: parent.verticalCenter
                        text: segment.modelData.label
                        size: 12
                        font.weight: Font.Medium
                        Accessible.ignored: true
                    }
                }
            }
        }
    }
}
