import QtQuick 2.15
import "."

// Files for the stick, while it is out.
Sheet {
    id: root

    title: "Put a file on the stick"
    cardWidth: 620
    cardHeight: 252

    Column {
        x: 16
        y: 48
        width: parent.width - 32
        spacing: 8

        Label {
            color: Theme.faint
            text: "The station obeys a command when it is started with the stick in it."
        }

        Repeater {
            model: [
                {name: "cmd_gen_backup.txt", says: "back up the archives, keep the newest"},
                {name: "cmd_gen_report.txt", says: "write a report for the maintainer"},
                {name: "cmd_erase_datas.txt", says: "erase all archives"}
            ]

            Row {
                spacing: 8

                PushButton {
                    width: 190
                    text: modelData.name
                    onClicked: {
                        bench.putCommandOnStick(modelData.name)
                        root.close()
                    }
                }

                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    text: modelData.says
                }
            }
        }

        Label { text: "Or a file of this computer, by its path:" }

        Row {
            spacing: 8

            Field {
                id: path

                width: 480
                onAccepted: copy.clicked()
            }

            PushButton {
                id: copy

                text: "Copy this file"
                onClicked: {
                    bench.putOnStick(path.text)
                    root.close()
                }
            }
        }
    }
}
