import QtQuick
import Tavrik

// A line to type into; what it is for shows while it is empty.
Rectangle {
    id: field

    required property string label
    required property string placeholder
    property alias text: input.text
    property alias echoMode: input.echoMode
    property alias inputMethodHints: input.inputMethodHints

    signal accepted

    function edit(): void {
        input.forceActiveFocus();
    }

    implicitHeight: input.implicitHeight + 18
    radius: 8
    color: Theme.card
    border.width: 1
    border.color: Theme.border

    Label {
        anchors.fill: input
        visible: input.text === "" && input.preeditText === ""
        text: field.placeholder
        color: Theme.placeholder
        Accessible.ignored: true
    }

    TextInput {
        id: input
        x: 12
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width - 24
        clip: true
        activeFocusOnTab: true
        selectByMouse: true
        color: Theme.primary
        selectionColor: Theme.highlight
        selectedTextColor: Theme.primary
        font.pixelSize: 13
        onAccepted: field.accepted()
        Accessible.role: Accessible.EditableText
        Accessible.name: field.label
        // A password field's name is never passed on.
        Accessible.description: field.label
        Accessible.passwordEdit: echoMode === TextInput.Password
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.NoButton
        cursorShape: Qt.IBeamCursor
    }

    FocusRing {
        radius: field.radius + 2
        visible: input.activeFocus
    }
}
