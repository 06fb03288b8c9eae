import QtQuick 2.15
import Corvane 1.0
import "."

// The station's screen, to be touched, and its power.
Card {
    id: root

    readonly property bool on: bench.power === "on"

    title: "Station"

    Label {
        anchors.right: parent.right
        anchors.rightMargin: 12
        y: 11
        color: Theme.faint
        text: bench.panelText === "" ? "" : "the panel says: " + bench.panelText
    }

    Rectangle {
        x: 4
        y: 36
        width: 488
        height: 280
        radius: 6
        color: Theme.socket

        ScreenItem {
            x: 4
            y: 4
            width: 480
            height: 272
            picture: bench.picture

            MouseArea {
                anchors.fill: parent
                enabled: root.on
                onPressed: bench.touch(mouse.x, mouse.y)
            }
        }
    }

    Rectangle {
        x: 12
        y: 332
        width: 12
        height: 12
        radius: 6
        color: root.on ? "yellowgreen" : Theme.line
        border.color: Theme.faint
    }

    Label {
        x: 32
        y: 330
        text: "Power " + bench.power
    }

    Row {
        anchors.right: parent.right
        anchors.rightMargin: 12
        y: 325
        spacing: Theme.gap

        PushButton {
            text: "Cut the power"
            enabled: root.on
            onClicked: bench.cutPower()
        }

        PushButton {
            text: "Stop"
            enabled: root.on
            onClicked: bench.stopStation()
        }

        PushButton {
            text: "Start"
            enabled: !root.on
            onClicked: bench.startStation()
        }
    }
}
