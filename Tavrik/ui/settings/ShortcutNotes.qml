import QtQuick
import Tavrik

// What keeps the shortcut, or the paste that follows it, from working on this desktop, and what can be done about it.
Column {
    id: notes

    required property SettingsModel settings
    readonly property ShortcutStatus shortcut: settings.shortcutStatus

    spacing: 8

    ShortcutNotice {
        text: notes.settings.shortcut.recording ? "" : notes.shortcut.warning
        remedy: notes.shortcut.remedy
        onApplied: notes.shortcut.applyRemedy()
    }

    ShortcutLines {
        status: notes.shortcut
    }

    ShortcutNotice {
        text: notes.shortcut.pasteWarning
        remedy: notes.shortcut.pasteRemedy
        onApplied: notes.shortcut.applyPasteRemedy()
    }
}
