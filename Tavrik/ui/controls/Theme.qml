pragma Singleton

import QtQuick

// The window's palette. It follows the application's own, and with it the desktop and the user's choice.
QtObject {
    readonly property SystemPalette application: SystemPalette {}
    readonly property bool applicationIsDark: application.window.hslLightness < application.windowText.hslLightness
    // Follows once the window has kept a picture to fade from.
    property bool dark
    Component.onCompleted: dark = applicationIsDark

    readonly property color canvas: dark ? "#1f1e1c" : "#f4f2ef"
    readonly property color card: dark ? "#2a2826" : "#ffffff"
    readonly property color inset: dark ? "#242220" : "#f7f5f2"
    readonly property color border: dark ? "#3c3a37" : "#e8e5e0"
    readonly property color selection: dark ? "#3e3c39" : "#e9e5df"
    readonly property color hover: dark ? "#343230" : "#efece7"

    readonly property color accent: "#f2a33c"

    readonly property color primary: dark ? "#f1efec" : "#1d1c1a"
    readonly property color secondary: dark ? "#a3a09b" : "#6e6b66"
    readonly property color placeholder: dark ? "#86837e" : "#8b8883"
    readonly property color error: dark ? "#ff6b60" : "#c9281c"
    readonly property color warning: dark ? "#f0b766" : "#8a5200"
    readonly property color overAccent: "#1d1c1a"
    // A switch that is off.
    readonly property color track: dark ? "#57544f" : "#cfcbc4"
    // What is selected in a text.
    readonly property color highlight: Qt.alpha(accent, dark ? 0.45 : 0.4)

    // A font's point size may hold a fraction, and a pixel size may not. Pixels per millimetre are the Screen's.
    function points(pixels: real, pixelDensity: real): real {
        return pixels * 72 / (25.4 * pixelDensity);
    }
}
