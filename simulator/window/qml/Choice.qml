import QtQuick 2.15
import "."

// Some values of which one is chosen; each has a text.
Flow {
    id: root

    property var values: []
    property var texts: values
    property var value

    spacing: 6

    Repeater {
        model: root.values

        PushButton {
            text: root.texts[index]
            chosen: root.value === modelData
            onClicked: root.value = modelData
        }
    }
}
