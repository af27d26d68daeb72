import QtQuick
import Tavrik

// Leads the window from one appearance to the other: the last picture of the old one lies over the new one, and fades.
Image {
    id: fade

    // What the picture is of.
    required property Item from

    function turn(): void {
        Theme.dark = Theme.applicationIsDark;
    }

    opacity: 0
    visible: opacity > 0

    Connections {
        target: Theme
        function onApplicationIsDarkChanged() {
            if (fade.Window.visibility === Window.Hidden || fade.Window.visibility === Window.Minimized)
                return fade.turn();
            fade.from.grabToImage(picture => {
                fade.source = picture.url;
                fade.turn();
                going.restart();
            });
        }
    }

    NumberAnimation {
        id: going
        target: fade
        property: "opacity"
        from: 1
        to: 0
        duration: 200
        easing.type: Easing.InOutQuad
        onFinished: fade.source = ""
    }
}
