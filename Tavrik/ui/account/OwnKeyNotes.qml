import QtQuick
import Tavrik

// For who dictates with a key of their own, and has no account: what the settings would tell them.
Column {
    id: notes

    required property SettingsModel settings
    // For two columns of commands.
    required property real widest

    readonly property OwnKeyStatus key: settings.ownKey

    spacing: 12

    CommandLines {
        anchors.horizontalCenter: parent.horizontalCenter
        visible: !notes.key.isSet
        title: "Or with an OpenRouter key of your own"
        lines: notes.key.keyCommand
        widest: notes.widest
        onCopied: text => notes.settings.copy(text)
    }

    Label {
        width: parent.width
        visible: notes.key.isSet
        text: notes.key.note
        font.weight: Font.Medium
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
    }

    ShortcutNotes {
        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.min(parent.width, 500)
        visible: notes.key.isSet
        settings: notes.settings
    }

    Row {
        anchors.horizontalCenter: parent.horizontalCenter
        visible: notes.key.isSet
        spacing: 16

        CommandLines {
            title: "Language, for example German"
            lines: notes.key.languageCommand
            widest: (notes.widest - parent.spacing) / 2
            onCopied: text => notes.settings.copy(text)
        }

        CommandLines {
            title: "Shortcut, for example ⌃ Space"
            lines: notes.key.shortcutCommands
            widest: (notes.widest - parent.spacing) / 2
            onCopied: text => notes.settings.copy(text)
        }
    }
}
