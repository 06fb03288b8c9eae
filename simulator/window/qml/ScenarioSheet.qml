import QtQuick 2.15
import "."

// The scenarios to choose from.
Sheet {
    id: root

    title: "Scenarios"
    cardWidth: 820
    cardHeight: 580

    Label {
        x: 16
        y: 44
        color: Theme.faint
        text: "To play one ends this station and begins anew, with the scenario's own pods and stick."
    }

    ListView {
        x: 16
        y: 72
        width: parent.width - 32
        height: parent.height - 88
        clip: true
        spacing: 6
        boundsBehavior: Flickable.StopAtBounds
        model: bench.scenarios

        delegate: Rectangle {
            width: ListView.view.width
            height: Math.max(34, name.implicitHeight + 14)
            radius: 6
            color: line.containsMouse ? "#e1f5fe" : Theme.ground

            Label {
                x: 10
                anchors.verticalCenter: parent.verticalCenter
                width: 190
                font.bold: true
                text: modelData.short
            }

            Label {
                id: name

                x: 210
                anchors.verticalCenter: parent.verticalCenter
                width: parent.width - x - 10
                wrapMode: Text.Wrap
                text: modelData.name
            }

            MouseArea {
                id: line

                anchors.fill: parent
                hoverEnabled: true
                onClicked: bench.play(modelData.file)
            }
        }
    }
}
