import QtQuick
import Tavrik

// A field for a search; `text` follows every keystroke.
InputField {
    id: field

    // Escape was pressed in an empty field.
    signal abandoned

    function edit(): void {
        forceActiveFocus();
        selectAll();
    }

    label: "Search"
    hint: "Search…"
    fill: Theme.canvas
    leftPadding: symbol.x + symbol.width + 6
    rightPadding: 9
    topPadding: 6
    bottomPadding: 6
    font.pointSize: Theme.points(12.5, Screen.logicalPixelDensity)
    Accessible.searchEdit: true
    Keys.onEscapePressed: {
        if (text === "")
            abandoned();
        else
            clear();
    }

    SymbolImage {
        id: symbol
        x: 9
        anchors.verticalCenter: parent.verticalCenter
        name: "magnifyingglass"
        size: 11
        colour: Theme.secondary
    }
}
