import QtQuick

// Shows the view of a file, made anew whenever it is another one. Components that know their surroundings would be
// shorter, but this Qt cannot load bound ones.
Loader {
    // The URL of the file; empty for none.
    required property string view
    // Gives the required properties of the view that is about to be made.
    required property var needs

    onViewChanged: {
        if (view === "")
            source = "";
        else
            setSource(view, needs.call());
    }
}
