import QtQuick 2.15

// What the station as a whole is doing, as one picture.
Item {
    id: root

    readonly property var pictures: ({
        "0": "../img/syncOK.png",
        "1": "../img/plugUSB.png",
        "2": "../img/addpod.png",
        "3": "../img/syncOK.png",
        "-1": "../img/sync.png",
        "-2": "../img/cross_mark.png"
    })

    Connections {
        target: uibackend

        function onSyncDoneChanged(code) {
            if (code in root.pictures)
                picture.source = root.pictures[code]
        }

        // A firmware update shows in the gauges alone.
        function onUpdateDoneChanged(code) {}
    }

    Rectangle {
        id: frame
        objectName: "frame"
        anchors.centerIn: parent
        z: 2
        width: parent.width - 10
        height: parent.height - 10
        radius: 12
        color: "white"
        border.width: 5
        border.color: "darkgrey"

        Image {
            id: picture
            objectName: "picture"
            anchors.centerIn: parent
            width: parent.width - 15
            height: parent.height - 15
            fillMode: Image.PreserveAspectFit
            source: "../img/addpod.png"
        }
    }
}
