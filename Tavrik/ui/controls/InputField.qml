import QtQuick
import QtQuick.Templates as T
import Tavrik

// A line to type into; the hint shows while it is empty.
T.TextField {
    id: field

    // For screen readers.
    required property string label
    property string hint
    property color fill: Theme.card

    implicitHeight: contentHeight + topPadding + bottomPadding
    verticalAlignment: TextInput.AlignVCenter
    selectByMouse: true
    color: Theme.primary
    selectionColor: Theme.highlight
    selectedTextColor: Theme.primary
    Accessible.role: Accessible.EditableText
    Accessible.name: label
    // Becomes the accessible description, which is all that a screen reader gets of a password field.
    placeholderText: label

    background: Rectangle {
        radius: Theme.fieldRadius
        color: field.fill
        border.width: Theme.hairline
        border.color: Theme.border
    }

    Text {
        x: field.leftPadding
        y: field.topPadding
        visible: field.text === "" && field.preeditText === ""
        text: field.hint
        textFormat: Text.PlainText
        font: field.font
        color: Theme.placeholder
        Accessible.ignored: true
    }

    FocusRing {
        radius: Theme.fieldRadius + Theme.focusWidth
        visible: field.activeFocus
    }
}
