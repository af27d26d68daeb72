import QtQuick
import Tavrik

// A field of the sign-in screen.
InputField {
    leftPadding: 12
    rightPadding: 12
    topPadding: 9
    bottomPadding: 9
    font.pixelSize: Theme.textSize
    Accessible.passwordEdit: echoMode === TextInput.Password
}
