import QtQuick 2.15
import "."

// The thirty places as they stand: five hubs of six, each fed by port 7 of the one below.
Card {
    id: root

    property string hint

    signal wanted(int slot)

    readonly property int placeWidth: 108
    readonly property int placeHeight: 83
    readonly property int rowHeight: 107
    readonly property int columnWidth: 114

    title: "Places"
    tools: [
        PushButton {
            text: "Plug all in"
            onClicked: bench.plugAll()
        },
        PushButton {
            text: "Pull all out"
            onClicked: bench.pullAll()
        }
    ]

    Label {
        x: 90
        y: 11
        width: 460
        color: Theme.faint
        text: root.hint !== "" ? root.hint
                               : "Click to plug in or to pull out; ⋮ for another pod"
    }

    // The chain of the hubs.
    Rectangle {
        x: 750
        y: 44 + root.placeHeight + 7
        width: 3
        height: 4 * root.rowHeight + 4
        color: Theme.hub
    }

    Repeater {
        model: 5

        Item {
            y: 40 + index * root.rowHeight
            width: root.width

            Label {
                x: 12
                y: root.placeHeight / 2 - 8
                color: Theme.faint
                text: "Hub " + (5 - index)
            }

            Rectangle {
                x: 12
                y: root.placeHeight + 6
                width: 741
                height: 11
                radius: 4
                color: Theme.hub
            }
        }
    }

    Repeater {
        model: 30

        Rectangle {
            x: 60 + (index % 6) * root.columnWidth + root.placeWidth / 2 - 12
            y: 40 + Math.floor(index / 6) * root.rowHeight + root.placeHeight + 8
            width: 24
            height: 6
            radius: 2
            color: Theme.socket
        }
    }

    Repeater {
        model: bench.places

        Place {
            x: 60 + (index % 6) * root.columnWidth
            y: 40 + Math.floor(index / 6) * root.rowHeight
            width: root.placeWidth
            height: root.placeHeight
            slot: index
            plugged: model.plugged
            phase: model.phase
            words: model.words
            detail: model.detail
            fault: model.fault
            filled: model.filled
            onWanted: root.wanted(slot)
            onHinted: root.hint = hint
        }
    }
}
