import Tavrik

// One of the buttons in the window's corner.
IconButton {
    size: 14
    padding: 6
}
