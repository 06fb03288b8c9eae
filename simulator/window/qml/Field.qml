import QtQuick 2.15
import "."

// One line to type into.
Rectangle {
    property alias text: input.text

    signal accepted()

    implicitHeight: 26
    radius: 6
    color: "white"
    border.width: 1
    border.color: input.activeFocus ? Theme.accent : Theme.line

    TextInput {
        id: input

        anchors.fill: parent
        anchors.leftMargin: 8
        anchors.rightMargin: 8
        verticalAlignment: TextInput.AlignVCenter
        color: Theme.ink
        font.pixelSize: Theme.normal
        clip: true
        selectByMouse: true
        onAccepted: parent.accepted()
    }
}
