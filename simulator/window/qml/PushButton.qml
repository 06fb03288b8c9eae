import QtQuick 2.15
import "."

// A button with a text, or one of several to choose from.
Rectangle {
    id: root

    property alias text: label.text
    property bool chosen: false
    property bool dark: false

    signal clicked()

    implicitWidth: label.implicitWidth + 20
    implicitHeight: 26
    radius: 6
    opacity: enabled ? 1 : 0.4
    color: {
        if (area.pressed)
            return Theme.line
        if (chosen)
            return Theme.accent
        return dark ? Theme.hub : Theme.ground
    }
    border.width: 1
    border.color: area.containsMouse ? Theme.accent : dark ? Theme.hub : Theme.line

    Text {
        id: label

        anchors.centerIn: parent
        color: root.chosen || root.dark ? "white" : Theme.ink
        font.pixelSize: Theme.normal
    }

    MouseArea {
        id: area

        anchors.fill: parent
        hoverEnabled: true
        onClicked: root.clicked()
    }
}
