import QtQuick
import Tarnwick

/// Marks the control with the keyboard focus, around the ring's parent.
Rectangle {
    required property Item control
    property int margin: 2

    anchors.fill: parent
    anchors.margins: -margin
    color: "transparent"
    border.color: Theme.focusRing
    border.width: 2
    visible: control.activeFocus && control.visible
}
