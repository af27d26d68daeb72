pragma Singleton

import QtQuick

// The window's palette. It follows the application's own, and with it the desktop and the user's choice.
QtObject {
    readonly property SystemPalette application: SystemPalette {}
    readonly property bool dark: application.window.hslLightness < application.windowText.hslLightness

    // Surfaces fade from one appearance to the other.
    component Fade: Behavior {
        ColorAnimation {
            duration: 200
            easing.type: Easing.InOutQuad
        }
    }

    property color canvas: dark ? "#1f1e1c" : "#f4f2ef"
    property color card: dark ? "#2a2826" : "#ffffff"
    property color inset: dark ? "#242220" : "#f7f5f2"
    property color border: dark ? "#3c3a37" : "#e8e5e0"
    property color selection: dark ? "#3e3c39" : "#e9e5df"
    property color hover: dark ? "#343230" : "#efece7"
    Fade on canvas {}
    Fade on card {}
    Fade on inset {}
    Fade on border {}
    Fade on selection {}
    Fade on hover {}

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
