pragma Singleton
import QtQuick 2.15

// The window's colours, of which those of a pod are the station's own, and its measures in pixels.
QtObject {
    readonly property color ink: "#37474f"
    readonly property color faint: "#78909c"
    readonly property color line: "#cfd8dc"
    readonly property color ground: "#eceff1"
    readonly property color card: "white"
    readonly property color hub: "#546e7a"
    readonly property color socket: "#263238"
    readonly property color accent: "#0277bd"
    readonly property color alarm: "#c62828"

    readonly property var phases: ({
        "empty": "transparent",
        "waits": "#b0bec5",
        "download": "deepskyblue",
        "done": "yellowgreen",
        "charges": "yellowgreen",
        "update": "salmon",
        "failed": "#ef9a9a"
    })

    readonly property int gap: 8
    readonly property int radius: 8
    readonly property int small: 12
    readonly property int normal: 13
    readonly property int large: 16
}
