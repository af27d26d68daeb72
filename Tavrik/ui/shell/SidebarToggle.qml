import Tavrik

// Collapses or expands the sidebar.
IconButton {
    required property bool collapsed

    symbol: "sidebar.left"
    text: collapsed ? "Expand sidebar" : "Collapse sidebar"
}
