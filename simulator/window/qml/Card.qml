import QtQuick 2.15
import "."

// A white card with a title, and room at the title's right.
Rectangle {
    id: root

    property alias title: heading.text
    property alias tools: toolRow.data

    radius: Theme.radius
    color: Theme.card
    border.width: 1
    border.color: Theme.line

    Text {
        id: heading

        x: 12
        y: 9
        color: Theme.ink
        font.pixelSize: Theme.large
        font.bold: true
    }

    Row {
        id: toolRow

        anchors.right: parent.right
        anchors.rightMargin: 12
        y: 6
        spacing: Theme.gap
    }
}
