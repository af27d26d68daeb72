import Tavrik

// A button in the window's corner.
IconButton {
    size: 14
    padding: 6
}
