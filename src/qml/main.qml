import QtQuick 2.15
import QtQuick.Controls 2.15

ApplicationWindow {
    id: window

    property bool launchStartAnim: false

    visible: true
    width: 480
    height: 272
    title: qsTr("Corvane")
    color: "white"

    StartupScreen {
        z: 5
        startAnim: true
    }

    Corvane {}

    InfoWindow {
        x: 200
        y: 0
        width: 280
        height: 210
    }

    // Only for debugging: quits the program.
    MouseArea {
        objectName: "quitArea"
        z: 100
        width: 30
        height: 30
        onPressed: Qt.quit()
    }

    Text {
        objectName: "version"
        x: 445
        y: 260
        color: "#222222"
        styleColor: "#3a3939"
        font.pointSize: 7
        text: "3.7"
        Component.onCompleted: text = uibackend.readCurrentVersion()
    }
}
