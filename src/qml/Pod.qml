import QtQuick 2.15
import QtQuick.Controls 2.15
import "."

// One place of the station: an upright bar that tells whether a pod is there and how far it is.
Item {
    id: root

    property int qidx: 0
    property string main_color: Theme.download_color
    property string border_color: Theme.empty_border
    property bool charging: false
    property real val: 0.0
    // Until the pod is unplugged; a failed one until it begins anew, too.
    property bool failed: false
    property bool unchecked: false

    function markAs(progress) {
        failed = progress === -2
        if (progress === -1)
            unchecked = true
    }

    function showUnmarked() {
        failed = false
        unchecked = false
    }

    function showFull() {
        main_color = Theme.done_color
        val = 1.0
    }

    // A pod that is plugged while its predecessor still fades out gets a gauge of its own at once.
    function showConnected() {
        emptying.complete()
        showUnmarked()
        border_color = Theme.plugged_border
    }

    function showDisconnected() {
        emptying.start()
        showUnmarked()
        charging = false
    }

    Connections {
        target: uibackend

        function onPodConnectionChanged(idx, connected) {
            if (idx !== root.qidx)
                return
            if (connected)
                root.showConnected()
            else
                root.showDisconnected()
        }

        function onPodSyncProgressChanged(idx, progress) {
            if (idx !== root.qidx)
                return
            root.markAs(progress)
            if (progress === 101)
                root.showFull()
            else
                root.val = Math.max(progress / 100, 0.1)
        }

        function onPodUpdateProgressChanged(idx, progress) {
            if (idx !== root.qidx)
                return
            root.markAs(progress)
            if (progress === 101) {
                root.showFull()
                return
            }
            root.main_color = Theme.update_color
            root.val = progress / 100
        }

        function onChargingStateChanged(idx, state) {
            if (idx !== root.qidx)
                return
            if (state === 1 || state === 2)
                root.main_color = Theme.done_color
            root.val = 1.0
            root.charging = state !== 2
        }
    }

    ParallelAnimation {
        id: emptying
        objectName: "emptying"

        SequentialAnimation {
            ColorAnimation {
                target: root
                property: "main_color"
                to: Theme.blank_color
                duration: Theme.fade_duration
            }
            PropertyAction { target: root; property: "val"; value: 0.0 }
            PropertyAction { target: root; property: "main_color"; value: Theme.download_color }
        }
        ColorAnimation {
            target: root
            property: "border_color"
            from: Theme.plugged_border_drawn
            to: Theme.empty_border
            duration: Theme.fade_duration
        }
    }

    SequentialAnimation {
        objectName: "pulse"
        running: root.charging
        loops: Animation.Infinite
        onStopped: root.main_color = Theme.done_color

        ColorAnimation {
            target: root
            property: "main_color"
            to: Theme.done_color
            duration: Theme.fade_duration
        }
        ColorAnimation {
            target: root
            property: "main_color"
            to: Theme.blank_color
            duration: Theme.charge_fade_duration
        }
    }

    ProgressBar {
        id: bar
        objectName: "bar"
        // Turned about its centre, a bar of 35 by 20 falls between pixels: half a pixel puts it right.
        x: (parent.width - width + 1) / 2
        y: (parent.height - height + 1) / 2
        width: 35
        height: 20
        padding: 1
        rotation: 270
        value: root.val

        // What is drawn is turned back: an upright rectangle is filled, a turned one is sampled pixel
        // by pixel. The border lies above, so that a pulsing fill needs no round corners of its own,
        // which are drawn anew for each colour.
        background: null
        contentItem: Item {
            Item {
                x: (parent.width - width) / 2
                y: (parent.height - height) / 2
                width: bar.availableHeight
                height: bar.availableWidth
                rotation: 90

                Rectangle {
                    objectName: "fill"
                    x: 1
                    y: parent.height - 1 - height
                    width: parent.width - 2
                    height: bar.visualPosition * (parent.height - 2)
                    radius: root.charging ? 0 : 6
                    color: root.main_color
                }

                Rectangle {
                    objectName: "border"
                    x: -bar.padding
                    y: -bar.padding
                    width: bar.height
                    height: bar.width
                    radius: 8
                    color: "transparent"
                    border.width: 2
                    border.color: root.border_color === Theme.plugged_border
                                  ? Theme.plugged_border_drawn : root.border_color
                }

                Image {
                    objectName: "chargeIcon"
                    anchors.centerIn: parent
                    fillMode: Image.PreserveAspectFit
                    source: "../img/charge_icon.png"
                    visible: root.charging
                }

                Image {
                    objectName: "failedIcon"
                    anchors.centerIn: parent
                    source: "../img/failed_icon.png"
                    visible: root.failed
                }

                // At the edge, where neither bolt nor cross covers it.
                Image {
                    objectName: "uncheckedIcon"
                    x: parent.width - 2
                    y: -6
                    source: "../img/unchecked_icon.png"
                    visible: root.unchecked
                }
            }
        }
    }
}
