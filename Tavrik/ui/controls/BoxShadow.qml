import QtQuick

// The soft shadow of a rounded box that fills the parent: one small image, stretched between its corners.
BorderImage {
    required property real corner
    required property real blur
    required property real offset
    required property real darkness

    // The image covers three deviations of the blur, which is twice as wide as they are.
    readonly property int reach: Math.ceil(blur * 1.5)
    readonly property int edge: 2 * reach + corner

    anchors.fill: parent
    anchors.margins: -reach
    anchors.topMargin: -reach + offset
    anchors.bottomMargin: -reach - offset
    border {
        left: edge
        right: edge
        top: edge
        bottom: edge
    }
    source: "image://shadows/" + corner + "/" + blur
    opacity: darkness
}
