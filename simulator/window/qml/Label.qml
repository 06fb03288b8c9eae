import QtQuick 2.15
import "."

Text {
    color: Theme.ink
    font.pixelSize: Theme.normal
    elide: Text.ElideRight
}
