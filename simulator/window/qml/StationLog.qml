import QtQuick 2.15
import "."

// The last lines that the station logged.
Card {
    id: root

    title: "Log"

    // That there is a screen, the station's platform says as a warning.
    function colourOf(line) {
        return !/QVncServer created/.test(line) && /\[(WARNING|CRITICAL|FATAL)\]/.test(line) ? Theme.alarm : Theme.ink
    }

    Label {
        x: 12
        y: 36
        color: Theme.faint
        font.pixelSize: Theme.small
        text: "index 0:\nplace 1"
    }

    Column {
        x: 68
        y: 10
        spacing: 1

        Repeater {
            model: bench.logLines

            Label {
                width: root.width - 80
                color: root.colourOf(modelData)
                font.pixelSize: Theme.small
                text: modelData
            }
        }
    }
}
