import QtQuick
import Tavrik

// For who dictates with a key of their own, and has no account: what the settings would tell them.
Column {
    id: notes

    required property SettingsModel settings
    // For two columns of commands.
    required property real widest

    readonly property ShortcutStatus shortcut: settings.shortcutStatus
    readonly property bool works: shortcut.warning === "" && shortcut.bindingLines === ""
    readonly property string set: settings.command + " preferences set "

    spacing: 12

    CommandLines {
        anchors.horizontalCenter: parent.horizontalCenter
        visible: !notes.settings.hasOwnKey
        title: "Or with an OpenRouter key of your own"
        lines: notes.set + "openrouter_api_key -"
        widest: notes.widest
        onCopied: text => notes.settings.copy(text)
    }

    Label {
        width: parent.width
        visible: notes.settings.hasOwnKey
        text: notes.works ? "Dictation works with your own key, without an account." : "Your own key is set, and no account is needed."
        font.weight: Font.Medium
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
    }

    ShortcutNotes {
        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.min(parent.width, 500)
        visible: notes.settings.hasOwnKey
        settings: notes.settings
    }

    Row {
        anchors.horizontalCenter: parent.horizontalCenter
        visible: notes.settings.hasOwnKey
        spacing: 16

        CommandLines {
            title: "Language, for example German"
            lines: notes.set + "target_language German"
            widest: (notes.widest - parent.spacing) / 2
            onCopied: text => notes.settings.copy(text)
        }

        CommandLines {
            title: "Shortcut, for example ⌃ Space"
            lines: notes.set + "hotkey_keycode 49\n" + notes.set + "hotkey_modifiers 4096\n" + notes.set + "hotkey_display '⌃ Space'"
            widest: (notes.widest - parent.spacing) / 2
            onCopied: text => notes.settings.copy(text)
        }
    }
}
