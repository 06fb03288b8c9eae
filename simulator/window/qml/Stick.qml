import QtQuick 2.15
import "."

// The USB stick, and what is on it.
Card {
    id: root

    signal wanted()

    title: "USB stick"
    tools: [
        PushButton {
            text: "Put a file on it"
            enabled: !bench.stickIn
            onClicked: root.wanted()
        },
        PushButton {
            text: bench.stickIn ? "Pull it out" : "Put it in"
            onClicked: bench.setStick(!bench.stickIn)
        }
    ]

    Label {
        x: 104
        y: 11
        color: Theme.faint
        text: bench.stickIn ? "in the station" : "out"
    }

    Column {
        x: 12
        y: 42
        spacing: 2

        Label {
            visible: bench.stickFiles.length === 0
            color: Theme.faint
            text: "empty"
        }

        Repeater {
            model: bench.stickFiles

            Label {
                width: root.width - 24
                text: modelData
            }
        }
    }
}
