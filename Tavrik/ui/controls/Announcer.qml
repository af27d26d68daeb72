import QtQuick

// Has screen readers speak a text that the user did not ask for: Announcer { text: form.errorMessage }, or say() for what
// is no state. They speak a notification that appears, and this Qt's bridge to them knows no other announcement.
Item {
    id: announcer

    // Spoken whenever it changes to something; empty says nothing.
    property string text
    property string spoken

    function say(words: string): void {
        // What is there already would not appear.
        visible = false;
        spoken = words;
        visible = words !== "";
    }

    // Nothing without a size shows for screen readers.
    width: 1
    height: 1
    visible: false
    Accessible.role: Accessible.Notification
    Accessible.name: spoken
    onTextChanged: say(text)

    // Nobody who looks around later should find it.
    Timer {
        interval: 3000
        running: announcer.visible
        onTriggered: announcer.say("")
    }
}
