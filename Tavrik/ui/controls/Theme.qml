pragma Singleton

import QtQuick

// Colours, text sizes, radii and distances of every view. Light or dark follows the application's palette, and with it
// the desktop and the user's choice. Menus and alerts have the same colours: platform/linux/PortalAppearance.cpp lists
// theirs. Sizes are device-independent pixels, durations milliseconds.
QtObject {
    readonly property SystemPalette application: SystemPalette {}
    readonly property bool applicationIsDark: application.window.hslLightness < application.windowText.hslLightness
    // AppearanceFade sets it once it has a picture of the old appearance to fade from.
    property bool dark
    Component.onCompleted: dark = applicationIsDark

    readonly property color canvas: dark ? "#1f1e1c" : "#f4f2ef"
    readonly property color card: dark ? "#2a2826" : "#ffffff"
    readonly property color inset: dark ? "#242220" : "#f7f5f2"
    readonly property color border: dark ? "#3c3a37" : "#e8e5e0"
    readonly property color selection: dark ? "#3e3c39" : "#e9e5df"
    readonly property color hover: dark ? "#343230" : "#efece7"

    readonly property color accent: "#f2a33c"
    // Told from every surface, as the border and the accent are not: edges that say what a control is or how it is set,
    // and those of what is filled with the accent.
    readonly property color outline: dark ? "#7d7973" : "#87837d"
    readonly property color accentOutline: "#a86400"
    readonly property color focus: dark ? accent : accentOutline

    readonly property color primary: dark ? "#f1efec" : "#1d1c1a"
    readonly property color secondary: dark ? "#a3a09b" : "#6e6b66"
    readonly property color error: dark ? "#ff6b60" : "#c9281c"
    readonly property color warning: dark ? "#f0b766" : "#8a5200"
    readonly property color success: dark ? "#6fce8a" : "#1f7a3d"
    readonly property color overAccent: "#1d1c1a"
    // Of a switch.
    readonly property color handle: "white"
    // Selected text.
    readonly property color highlight: Qt.alpha(accent, dark ? 0.45 : 0.4)
    // Shadows, and what dims the view below.
    readonly property color shade: "black"

    // The recording panel is dark on every desktop.
    readonly property color panel: Qt.rgba(0.09, 0.09, 0.10, 0.94)
    readonly property color panelOpaque: Qt.alpha(panel, 1)
    readonly property color panelText: Qt.rgba(1, 1, 1, 0.85)
    readonly property color panelBar: Qt.rgba(1, 1, 1, 0.92)
    readonly property color panelSymbol: Qt.rgba(1, 1, 1, 0.9)
    readonly property color panelButton: Qt.rgba(1, 1, 1, 0.14)
    readonly property color panelButtonHover: Qt.rgba(1, 1, 1, 0.25)
    readonly property color panelProminentButton: "white"
    readonly property color panelProminentButtonHover: Qt.rgba(1, 1, 1, 0.85)
    readonly property color panelProminentSymbol: "black"

    readonly property real captionSize: 11
    readonly property real smallSize: 12
    readonly property real textSize: 13
    readonly property real titleSize: 23
    readonly property real headlineSize: 25
    // Between the letters of a caption.
    readonly property real captionSpacing: 0.8

    readonly property real controlRadius: 6
    readonly property real buttonRadius: 7
    readonly property real fieldRadius: 8
    readonly property real listRadius: 10
    readonly property real groupRadius: 12
    readonly property real cardRadius: 14
    readonly property real sheetRadius: 16

    // A whole number of pixels on the first screen.
    readonly property real pixelRatio: Application.screens[0]?.devicePixelRatio ?? 1
    readonly property real hairline: Math.max(1, Math.floor(pixelRatio)) / pixelRatio
    readonly property real focusWidth: 2

    readonly property real sidebarWidth: 208
    readonly property real collapsedSidebarWidth: 60
    readonly property real sidebarMargin: 12
    // From a card's edge, or a row's, to what stands in it.
    readonly property real cardPadding: 16
    readonly property real rowPadding: 14
    readonly property real signInWidth: 300

    readonly property int openDuration: 120
    readonly property int sheetDuration: 140
    readonly property int appearanceDuration: 200

    // A font's point size may hold a fraction, and a pixel size may not. Pixels per millimetre are the Screen's.
    function points(pixels: real, pixelDensity: real): real {
        return pixels * 72 / (25.4 * pixelDensity);
    }
}
