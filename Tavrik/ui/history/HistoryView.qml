import QtQuick
import Tavrik

// Everything that was ever dictated, day by day.
TranscriptionPage {
    id: history

    required property HistoryPages pages

    transcriptions: pages.all
    spacing: 24

    Binding {
        target: history.transcriptions
        property: "query"
        value: search.text
    }

    Label {
        text: "History"
        size: Theme.headlineSize
        font.weight: Font.Bold
        Accessible.role: Accessible.Heading
    }

    SearchField {
        id: search
        width: Math.min(300, parent.width)
    }

    Label {
        width: parent.width
        visible: history.transcriptions.empty
        text: search.text === "" ? "No transcriptions yet." : "No matches for “" + search.text + "”."
        wrapMode: Text.Wrap
        color: Theme.secondary
    }

    Shortcut {
        enabled: history.enabled
        sequence: "Ctrl+F"
        onActivated: search.edit()
    }
}
