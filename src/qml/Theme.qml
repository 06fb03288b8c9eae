pragma Singleton
import QtQuick 2.15

// The colours and durations (milliseconds) that the screens share.
QtObject {
    readonly property string download_color: "deepskyblue"
    readonly property string update_color: "salmon"
    readonly property string done_color: "yellowgreen"
    readonly property string blank_color: "white"

    readonly property string empty_border: "#a79d9d"
    // The value that marks a plugged place. It is no colour name, so it is drawn as the next one.
    readonly property string plugged_border: "dark"
    readonly property string plugged_border_drawn: "#3a3939"

    readonly property int fade_duration: 500
    readonly property int charge_fade_duration: 1000
    readonly property int logo_duration: 3000
}
