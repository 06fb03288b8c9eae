import QtQuick 2.15
import QtQuick.Layouts 1.15

// The thirty gauges, slot 0 at the top left, row by row.
Item {
    width: 200
    height: 272

    GridLayout {
        anchors.fill: parent
        rows: 5
        columns: 6
        rowSpacing: 0
        columnSpacing: 0

        Repeater {
            model: 30

            Pod {
                qidx: index
                Layout.preferredWidth: 15
                Layout.preferredHeight: 30
                Layout.maximumWidth: 15
                Layout.maximumHeight: 30
                Layout.fillWidth: false
                Layout.fillHeight: false
                Layout.alignment: Qt.AlignCenter
            }
        }
    }
}
