import QtQuick
import Tavrik

// Who uses the computer, who is signed in, and the way out.
DropdownCard {
    id: card

    required property AccountModel account
    required property string version

    width: 260
    spacing: 12

    Row {
        width: parent.width
        spacing: 10

        SymbolImage {
            id: portrait
            anchors.verticalCenter: parent.verticalCenter
            name: "person.crop.circle.fill"
            size: 30
            colour: Theme.secondary
        }

        Column {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - portrait.width - parent.spacing
            spacing: 2

            Label {
                width: parent.width
                text: card.account.userName
                font.weight: Font.DemiBold
                // Beside the portrait, whichever way the name is written.
                horizontalAlignment: Text.AlignLeft
                elide: Text.ElideRight
            }

            Label {
                width: parent.width
                text: card.account.email
                size: Theme.captionSize
                color: Theme.secondary
                horizontalAlignment: Text.AlignLeft
                elide: Text.ElideMiddle
            }
        }
    }

    Label {
        text: "Tavrik v" + card.version
        size: Theme.captionSize
        color: Theme.secondary
    }

    LinkButton {
        text: "Sign out"
        size: Theme.captionSize
        weight: Font.Medium
        onClicked: card.account.signOut()
    }
}
