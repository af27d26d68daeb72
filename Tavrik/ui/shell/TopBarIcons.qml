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

    function button(name: string): Item {
        return name === "notifications" ? bell : person;
    }

    TopIconButton {
        id: bell
        symbol: "bell"
        text: "Notifications"
        active: icons.panel === "notifications"
        onClicked: icons.toggle("notifications")
    }

    TopIconButton {
        id: person
        symbol: "person.crop.circle"
        reachRight: 22
        text: "Account"
        active: icons.panel === "account"
        onClicked: icons.toggle("account")
    }
}
