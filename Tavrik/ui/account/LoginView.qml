import QtQuick
import Tavrik

// Signing in, or creating an account.
ScrollingPage {
    id: login

    required property AccountModel account
    required property SettingsModel settings

    contentHeight: Math.max(height, column.height + 48)
    Component.onCompleted: {
        emailField.forceActiveFocus();
        settings.refresh();
    }

    LoginForm {
        id: form
        account: login.account
    }

    Announcer {
        text: form.errorMessage || form.notice || login.account.lastOAuthError
    }

    Column {
        id: column
        anchors.centerIn: parent
        spacing: 16

        Item {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 56
            height: 60

            LogoMark {
                size: 56
            }
        }

        Label {
            anchors.horizontalCenter: parent.horizontalCenter
            text: form.creatingAccount ? "Create your account" : "Welcome to Tavrik"
            size: 22
            font.weight: Font.Bold
            Accessible.role: Accessible.Heading
        }

        Column {
            anchors.horizontalCenter: parent.horizontalCenter
            width: Theme.signInWidth
            spacing: 4
            bottomPadding: 8

            Label {
                anchors.horizontalCenter: parent.horizontalCenter
                // Two lines of about the same length.
                width: 0.7 * parent.width
                text: "Hold a key, speak Persian, get fluent text — anywhere."
                color: Theme.secondary
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
            }

            Label {
                width: parent.width
                visible: text !== ""
                text: login.settings.shortcutStatus.note
                size: Theme.smallSize
                color: Theme.secondary
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
            }
        }

        PushButton {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Continue with Google"
            symbol: "globe"
            labelWidth: Theme.signInWidth - 2 * horizontalPadding
            horizontalPadding: 10
            verticalPadding: 7
            enabled: login.account.hasBackend
            onClicked: login.account.signInWithGoogle()
        }

        LoginMessage {
            anchors.horizontalCenter: parent.horizontalCenter
            text: login.account.lastOAuthError
        }

        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: 10

            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                width: (Theme.signInWidth - or.width) / 2 - parent.spacing
                height: Theme.hairline
                color: Theme.border
            }

            Label {
                id: or
                text: "or"
                size: Theme.captionSize
                color: Theme.secondary
            }

            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                width: (Theme.signInWidth - or.width) / 2 - parent.spacing
                height: Theme.hairline
                color: Theme.border
            }
        }

        Column {
            anchors.horizontalCenter: parent.horizontalCenter
            width: Theme.signInWidth
            spacing: 10

            LoginField {
                id: emailField
                width: parent.width
                label: "Email"
                hint: "you@example.com"
                inputMethodHints: Qt.ImhEmailCharactersOnly | Qt.ImhNoAutoUppercase
                onTextChanged: form.email = text
                onAccepted: form.submit()
            }

            LoginField {
                width: parent.width
                label: "Password"
                hint: form.creatingAccount ? "At least 6 characters" : "Password"
                echoMode: TextInput.Password
                onTextChanged: form.password = text
                onAccepted: form.submit()
            }
        }

        LoginMessage {
            anchors.horizontalCenter: parent.horizontalCenter
            text: form.errorMessage
        }

        LoginMessage {
            anchors.horizontalCenter: parent.horizontalCenter
            text: login.account.hasBackend ? form.notice : "This build of Tavrik has no server to sign in to."
            color: Theme.secondary
        }

        PushButton {
            anchors.horizontalCenter: parent.horizontalCenter
            text: form.busy ? "Please wait…" : form.creatingAccount ? "Create account" : "Sign in"
            prominent: true
            labelWidth: Theme.signInWidth - 2 * horizontalPadding
            horizontalPadding: 10
            verticalPadding: 7
            enabled: form.submittable
            onClicked: form.submit()
        }

        LinkButton {
            anchors.horizontalCenter: parent.horizontalCenter
            text: form.creatingAccount ? "Already have an account? Sign in" : "New here? Create an account"
            size: Theme.smallSize
            colour: Theme.secondary
            onClicked: form.toggleMode()
        }

        OwnKeyNotes {
            anchors.horizontalCenter: parent.horizontalCenter
            width: widest
            topPadding: 12
            widest: login.width - 2 * 48
            settings: login.settings
        }
    }
}
