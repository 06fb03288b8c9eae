import QtQuick 2.15
import "."

// One place of a hub with its pod, or without one.
Item {
    id: root

    property int slot: 0
    property bool plugged: false
    property string phase
    property string words
    property string detail
    property string fault
    property real filled: 0

    objectName: "place"

    signal wanted()
    signal hinted(string hint)

    readonly property string whatIsIt: "Place " + (slot + 1) + " is slot " + slot
        + " at the prompt; hub " + (5 - Math.floor(slot / 6)) + ", port " + (6 - slot % 6)
        + (fault === "" ? "" : "; this pod: " + fault)

    Rectangle {
        anchors.fill: parent
        radius: Theme.radius
        color: area.containsMouse ? "#e1f5fe" : root.plugged ? "white" : Theme.ground
        border.width: 1
        border.color: area.containsMouse ? Theme.accent : root.plugged ? Theme.hub : Theme.line
    }

    // The plug that goes into the hub's port.
    Rectangle {
        visible: root.plugged
        anchors.horizontalCenter: parent.horizontalCenter
        y: parent.height - 1
        width: 18
        height: 8
        color: "#90a4ae"
    }

    Gauge {
        x: 8
        y: 7
        opacity: root.plugged ? 1 : 0.35
        phase: root.phase
        plugged: root.plugged
        filled: root.filled
    }

    Label {
        x: 36
        y: 5
        color: root.plugged ? Theme.ink : Theme.faint
        font.pixelSize: Theme.large
        font.bold: true
        text: root.slot + 1
    }

    Label {
        x: 36
        y: 27
        width: parent.width - x - 4
        color: root.plugged ? Theme.ink : Theme.faint
        font.pixelSize: Theme.small
        text: root.words
    }

    Label {
        x: 8
        y: 47
        width: parent.width - 12
        color: Theme.faint
        font.pixelSize: Theme.small
        text: root.detail
    }

    Label {
        x: 8
        y: 63
        width: parent.width - 12
        color: Theme.alarm
        font.pixelSize: Theme.small
        text: root.fault
    }

    MouseArea {
        id: area

        anchors.fill: parent
        hoverEnabled: true
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        onEntered: root.hinted(root.whatIsIt)
        onExited: root.hinted("")
        onClicked: {
            if (mouse.button === Qt.RightButton)
                root.wanted()
            else
                bench.plugOrPull(root.slot)
        }
    }

    PushButton {
        x: parent.width - width - 3
        y: 3
        width: 22
        height: 22
        text: "⋮"
        onClicked: root.wanted()
    }
}
