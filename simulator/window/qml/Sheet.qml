import QtQuick 2.15
import "."

// A card above all the rest, until it is closed or the ground beside it is clicked.
Rectangle {
    id: root

    property alias title: card.title
    default property alias content: card.data
    property alias cardWidth: card.width
    property alias cardHeight: card.height

    function open() {
        visible = true
    }

    function close() {
        visible = false
    }

    anchors.fill: parent
    visible: false
    z: 10
    color: "#80263238"

    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        onClicked: root.close()
        onWheel: wheel.accepted = true
    }

    Card {
        id: card

        anchors.centerIn: parent
        tools: PushButton {
            text: "Close"
            onClicked: root.close()
        }

        MouseArea {
            anchors.fill: parent
            z: -1
        }
    }
}
