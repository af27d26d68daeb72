import QtQuick
import Tavrik

// Greets, lists what was dictated today, and counts.
TranscriptionPage {
    id: home

    required property HistoryPages pages
    required property ShortcutStatus shortcut

    property bool searching: false

    function toggleSearch(): void {
        searching = !searching;
        if (searching)
            search.edit();
        else
            search.clear();
    }

    transcriptions: pages.today
    roomBeside: stats.width + 14
    spacing: 24
    gap: 10

    Binding {
        target: home.transcriptions
        property: "query"
        value: search.text
    }

    Label {
        width: parent.width
        text: "Welcome back, " + home.pages.firstName
        size: Theme.headlineSize
        font.weight: Font.Bold
        elide: Text.ElideRight
        Accessible.role: Accessible.Heading
    }

    Column {
        width: parent.width
        spacing: 10

        Item {
            width: parent.width
            height: search.implicitHeight

            Caption {
                anchors.verticalCenter: parent.verticalCenter
                title: "Today"
                text: "TODAY"
            }

            SearchField {
                id: search
                anchors.right: searchButton.left
                anchors.rightMargin: 6
                width: 180
                visible: home.searching
                onAbandoned: home.toggleSearch()
            }

            IconButton {
                id: searchButton
                anchors.right: parent.right
                // The symbol, not the patch round it, ends where the list does.
                anchors.rightMargin: -3
                anchors.verticalCenter: parent.verticalCenter
                symbol: home.searching ? "xmark.circle.fill" : "magnifyingglass"
                text: home.searching ? "Close search" : "Search"
                onClicked: home.toggleSearch()
            }
        }

        EmptyHint {
            width: parent.width
            visible: home.transcriptions.empty
            searching: search.text !== ""
            note: home.shortcut.note
        }
    }

    Shortcut {
        enabled: home.enabled
        sequence: "Ctrl+F"
        onActivated: {
            if (home.searching)
                search.edit();
            else
                home.toggleSearch();
        }
    }

    Card {
        id: stats
        parent: home
        x: home.width - width - home.margin
        y: home.marginAbove - home.scrolled
        width: 200
        height: lines.height + 44

        Column {
            id: lines
            x: 22
            y: 22
            width: parent.width - 44
            spacing: 20

            StatLine {
                value: home.pages.stats.totalWords
                label: "total words"
            }

            StatLine {
                value: home.pages.stats.wordsPerMinute
                label: "wpm"
            }

            StatLine {
                value: home.pages.stats.daysUsed
                label: home.pages.stats.daysLabel
            }
        }
    }
}
