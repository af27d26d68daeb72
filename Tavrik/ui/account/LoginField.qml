import QtQuick
import Tavrik

// A field of the sign-in screen.
InputField {
    leftPadding: 12
    rightPadding: 12
    topPadding: 9
    bottomPadding: 9
    font.pixelSize: Theme.textSize
    // A password field's name never reaches a screen reader; its description does.
    Accessible.description: label
    Accessible.passwordEdit: echoMode === TextInput.Password
}
