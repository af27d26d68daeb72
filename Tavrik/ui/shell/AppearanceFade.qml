import QtQuick
import Tavrik

// Fades the window from one appearance to the other: a picture of the old one lies over the new one and fades out.
Image {
    id: fade

    // What is pictured.
    required property Item from

    function follow(): void {
        Theme.dark = Theme.applicationIsDark;
    }

    opacity: 0
    visible: opacity > 0

    Connections {
        target: Theme
        function onApplicationIsDarkChanged() {
            if (fade.Window.visibility === Window.Hidden || fade.Window.visibility === Window.Minimized)
                return fade.follow();
            // As many pixels as the screen shows of it.
            const size = Qt.size(fade.from.width * Screen.devicePixelRatio, fade.from.height * Screen.devicePixelRatio);
            fade.from.grabToImage(picture => {
                fade.source = picture.url;
                fade.follow();
                going.restart();
            }, size);
        }
    }

    NumberAnimation {
        id: going
        target: fade
        property: "opacity"
        from: 1
        to: 0
        duration: Theme.appearanceDuration
        easing.type: Easing.InOutQuad
        onFinished: fade.source = ""
    }
}
