import QtQuick
import Tavrik

// Where a search is typed; `query` follows every keystroke.
Rectangle {
    id: field

    readonly property alias query: input.text

    // Escape was pressed in a field that is empty already.
    signal abandoned

    function edit(): void {
        input.forceActiveFocus();
        input.selectAll();
    }
    function clear(): void {
        input.clear();
    }

    implicitHeight: input.implicitHeight + 12
    radius: 8
    color: Theme.canvas
    border.width: 1
    border.color: Theme.border

    SymbolImage {
        id: symbol
        x: 9
        anchors.verticalCenter: parent.verticalCenter
        name: "magnifyingglass"
        size: 11
        colour: Theme.secondary
    }

    Text {
        anchors.fill: input
        visible: input.text === "" && input.preeditText === ""
        text: "Search…"
        font: input.font
        color: Theme.placeholder
        Accessible.ignored: true
    }

    TextInput {
        id: input
        anchors.left: symbol.right
        anchors.leftMargin: 6
        anchors.right: parent.right
        anchors.rightMargin: 9
        anchors.verticalCenter: parent.verticalCenter
        clip: true
        activeFocusOnTab: true
        selectByMouse: true
        color: Theme.primary
        selectionColor: Theme.highlight
        selectedTextColor: Theme.primary
        font.pointSize: Theme.points(12.5, Screen.logicalPixelDensity)
        Accessible.role: Accessible.EditableText
        Accessible.name: "Search"
        Accessible.searchEdit: true
        Keys.onEscapePressed: event => {
            if (text === "")
                field.abandoned();
            else
                clear();
        }
    }

    // The whole field takes the click, as a field of the desktop does.
    TapHandler {
        onTapped: input.forceActiveFocus()
    }

    HoverHandler {
        cursorShape: Qt.IBeamCursor
    }

    FocusRing {
        radius: field.radius + 2
        visible: input.activeFocus
    }
}
