import Tavrik

// Makes the sidebar narrow or wide.
IconButton {
    required property bool collapsed

    symbol: "sidebar.left"
    name: collapsed ? "Expand sidebar" : "Collapse sidebar"
    toolTip: name
}
