import QtQuick

// The program's mark.
Image {
    property int size: 38

    width: size
    height: size
    sourceSize.width: size * Screen.devicePixelRatio
    sourceSize.height: size * Screen.devicePixelRatio
    source: "qrc:/tavrik/Logo.svg"
}
