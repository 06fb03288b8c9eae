import QtQuick 2.15
import "."

// As the station draws a place: filled from the bottom to the top.
Rectangle {
    id: root

    property string phase
    property real filled: 0
    property bool plugged: false

    width: 20
    height: 38
    radius: 8
    color: "white"

    Rectangle {
        x: 2
        y: parent.height - 2 - height
        width: parent.width - 4
        height: Math.round(root.filled * (parent.height - 4))
        radius: 6
        color: Theme.phases[root.phase]
    }

    Rectangle {
        anchors.fill: parent
        radius: root.radius
        color: "transparent"
        border.width: 2
        border.color: root.plugged ? "#3a3939" : "#a79d9d"
    }
}
