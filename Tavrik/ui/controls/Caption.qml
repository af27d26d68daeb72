import QtQuick
import Tavrik

// A small title above a list.
Label {
    // For screen readers; `text` may be in capitals.
    required property string title

    size: Theme.captionSize
    font.weight: Font.DemiBold
    // Letter-spacing breaks joined scripts.
    font.letterSpacing: /^[\u0020-\u024f]*$/.test(text) ? Theme.captionSpacing : 0
    color: Theme.secondary
    Accessible.role: Accessible.Heading
    Accessible.name: title
}
