import QtQuick
import Tavrik

// The two buttons that open the drop-down cards; `panel` says which card is open: "", "notifications" or "account".
Row {
    id: icons

    required property string panel

    signal chosen(string panel)

    function toggle(name: string): void {
        chosen(panel === name ? "" : name);
    }

    TopIconButton {
        symbol: "bell"
        name: "Notifications"
        toolTip: name
        active: icons.panel === "notifications"
        onClicked: icons.toggle("notifications")
    }

    TopIconButton {
        symbol: "person.crop.circle"
        name: "Account"
        toolTip: name
        active: icons.panel === "account"
        onClicked: icons.toggle("account")
    }
}
