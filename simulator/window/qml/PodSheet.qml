import QtQuick 2.15
import "."

// What the next pod of a place is like.
Sheet {
    id: root

    property int slot: 0

    function openFor(wanted) {
        slot = wanted
        open()
    }

    title: "A pod for place " + (slot + 1)
    cardWidth: 720
    cardHeight: 526

    Column {
        x: 16
        y: 48
        width: parent.width - 32
        spacing: 8

        Label {
            color: Theme.faint
            text: "At the prompt this place is slot " + root.slot + ": plug " + root.slot
                  + " SIZE FAULT"
        }

        Label { text: "Its recording has" }

        Row {
            spacing: 6

            Choice {
                id: size

                values: ["64K", "1M", "8M", "32M"]
                texts: ["64 KB", "1 MB", "8 MB", "32 MB"]
                value: "8M"
                onValueChanged: typed.text = value
            }

            Field {
                id: typed

                width: 110
                text: "8M"
            }

            Label {
                anchors.verticalCenter: parent.verticalCenter
                color: Theme.faint
                text: "bytes, or a range: 1M-16M"
            }
        }

        Label { text: "It sends a second" }

        Choice {
            id: speed

            values: [100000, 1200000, 0]
            texts: ["0.1 MB", "1.2 MB, as pods do", "as much as it can"]
            value: 1200000
        }

        Label { text: "What is wrong with it" }

        Choice {
            id: podFault

            width: parent.width
            values: bench.podFaults
            value: fault.value
            onValueChanged: fault.value = value
        }

        Label { text: "What is wrong with it when its firmware is updated" }

        Choice {
            width: parent.width
            values: bench.bootloaderFaults
            value: fault.value
            onValueChanged: fault.value = value
        }

        PushButton {
            text: "Plug it in"
            onClicked: {
                bench.plugAs(root.slot, typed.text, speed.value, fault.value)
                root.close()
            }
        }
    }

    QtObject {
        id: fault

        property string value: "none"
    }
}
