import QtQuick
import Tarnwick

Rectangle {
    id: line

    required property real value
    property string label: "进度"

    implicitWidth: 160
    implicitHeight: 6
    radius: 3
    color: Theme.dark ? Theme.outline : Theme.pressed

    Rectangle {
        width: Math.max(line.radius * 2, line.width * Math.min(1, line.value))
        height: parent.height
        radius: line.radius
        color: Theme.progress
        visible: line.value > 0
        Behavior on width {
            NumberAnimation {
                duration: Theme.longTime
                easing.type: Easing.OutCubic
            }
        }
    }
    Accessible.role: Accessible.ProgressBar
    Accessible.name: label
    Accessible.description: Math.round(value * 100) + "%"
}
