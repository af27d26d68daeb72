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

    function openMenu(at: point): void {
        const readable = echoMode === TextInput.Normal && selectedText !== "";
        PopupMenu.open(field, at, [
            {
                text: "Cut",
                enabled: readable,
                run: () => field.cut()
            },
            {
                text: "Copy",
                enabled: readable,
                run: () => field.copy()
            },
            {
                text: "Paste",
                enabled: field.canPaste,
                run: () => field.paste()
            },
            {
                text: "Select All",
                enabled: field.text !== "",
                run: () => field.selectAll()
            }
        ]);
    }

    function openMenuAtCursor(): void {
        openMenu(Qt.point(cursorRectangle.x, cursorRectangle.y + cursorRectangle.height));
    }

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
    onPressed: event => {
        if (event.button !== Qt.RightButton)
            return;
        forceActiveFocus();
        openMenu(Qt.point(event.x, event.y));
    }
    Keys.onMenuPressed: openMenuAtCursor()
    Keys.onPressed: event => {
        event.accepted = event.key === Qt.Key_F10 && event.modifiers === Qt.ShiftModifier;
        if (event.accepted)
            openMenuAtCursor();
    }

    background: Rectangle {
        radius: Theme.fieldRadius
        color: field.fill
        border.width: field.activeFocus ? 0 : Theme.hairline
        border.color: Theme.outline
    }

    Text {
        x: field.leftPadding
        y: field.topPadding
        visible: field.text === "" && field.preeditText === ""
        text: field.hint
        textFormat: Text.PlainText
        font: field.font
        color: Theme.secondary
        Accessible.ignored: true
    }

    TapHandler {
        acceptedDevices: PointerDevice.TouchScreen
        onLongPressed: field.openMenu(point.position)
    }

    FocusRing {
        radius: Theme.fieldRadius + Theme.focusWidth
        visible: field.activeFocus
    }
}
