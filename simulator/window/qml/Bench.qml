import QtQuick 2.15
import "."

// The whole bench, drawn for 1280 by 800 and made to fit.
Rectangle {
    color: Theme.ground

    Item {
        anchors.centerIn: parent
        width: 1280
        height: 800
        scale: Math.min(parent.width / width, parent.height / height)

        Rectangle {
            width: parent.width
            height: 52
            color: Theme.ink

            Label {
                x: 16
                anchors.verticalCenter: parent.verticalCenter
                color: "white"
                font.pixelSize: 20
                text: "Corvane bench"
            }

            Label {
                x: 200
                y: 8
                width: 860
                color: "white"
                text: bench.scenario
            }

            Label {
                x: 200
                y: 28
                width: 860
                color: bench.message === "" ? "#b0bec5" : "#ffcc80"
                text: bench.message !== "" ? bench.message : bench.progress
            }

            Row {
                anchors.right: parent.right
                anchors.rightMargin: 16
                anchors.verticalCenter: parent.verticalCenter
                spacing: Theme.gap

                PushButton {
                    dark: true
                    text: "Scenarios"
                    onClicked: scenarioSheet.open()
                }

                PushButton {
                    dark: true
                    text: "End"
                    onClicked: bench.end()
                }
            }
        }

        Places {
            x: 8
            y: 60
            width: 760
            height: 580
            onWanted: podSheet.openFor(slot)
        }

        Station {
            x: 776
            y: 60
            width: 496
            height: 362
        }

        Stick {
            x: 776
            y: 430
            width: 496
            height: 210
            onWanted: stickSheet.open()
        }

        StationLog {
            x: 8
            y: 648
            width: 1264
            height: 144
        }

        PodSheet { id: podSheet }

        StickSheet { id: stickSheet }

        ScenarioSheet { id: scenarioSheet }
    }
}
