import QtQuick 2.15
import "."

// The logo over a white cover; it shrinks into the lower right corner, then the cover goes.
Item {
    id: root

    property bool startAnim: false

    anchors.fill: parent

    Rectangle {
        id: cover
        objectName: "cover"
        anchors.fill: parent
        color: "white"
    }

    Image {
        id: imgOzu
        objectName: "logo"
        width: parent.width
        // No such property: the height follows from the picture's own shape. It stays this way.
        height: parent.heigth
        fillMode: Image.PreserveAspectFit
        source: "../img/qv_logo.png"
    }

    ParallelAnimation {
        id: logoAnimation
        objectName: "logoAnimation"
        running: root.startAnim

        onStopped: {
            imgOzu.visible = true
            imgOzu.source = "../img/qv_logo_clear.png"
            if (root.startAnim)
                coverAnimation.start()
        }

        NumberAnimation { target: imgOzu; property: "width"; to: 160; duration: Theme.logo_duration }
        NumberAnimation { target: imgOzu; property: "height"; to: 100; duration: Theme.logo_duration }
        NumberAnimation { target: imgOzu; property: "x"; to: 265; duration: Theme.logo_duration }
        NumberAnimation { target: imgOzu; property: "y"; to: 190; duration: Theme.logo_duration }
    }

    NumberAnimation {
        id: coverAnimation
        objectName: "coverAnimation"
        target: cover
        property: "opacity"
        from: 1
        to: 0
        duration: Theme.fade_duration
    }
}
