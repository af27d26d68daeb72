import QtQuick
import Tavrik

// The two buttons of the drop-down cards; `panel` names the open card: "", "notifications" or "account".
Row {
    id: icons

    required property string panel

    signal chosen(string panel)

    function toggle(name: string): void {
        chosen(panel === name ? "" : name);
    }

    TopIconButton {
        symbol: "bell"
        text: "Notifications"
        active: icons.panel === "notifications"
        onClicked: icons.toggle("notifications")
    }

    TopIconButton {
        symbol: "person.crop.circle"
        text: "Account"
        active: icons.panel === "account"
        onClicked: icons.toggle("account")
    }
}
