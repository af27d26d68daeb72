import QtQuick
import Tavrik

// A small title above a list.
Label {
    // As it reads; `text` is how it looks.
    required property string title

    size: 11
    font.weight: Font.DemiBold
    // Joined scripts do not bear being spaced out.
    font.letterSpacing: /^[\u0020-\u024f]*$/.test(text) ? 0.8 : 0
    color: Theme.secondary
    Accessible.role: Accessible.Heading
    Accessible.name: title
}
