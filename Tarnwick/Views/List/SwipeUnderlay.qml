import QtQuick
import Tarnwick

/// Visible where a row's content was dragged away.
Rectangle {
    id: underlay

    required property real distance
    required property bool armed

    radius: Theme.rowRadius
    color: armed ? Theme.destructive : Theme.button
    opacity: Math.min(1, distance / 48)

    Icon {
        anchors.right: parent.right
        anchors.rightMargin: Math.max(16, Math.min(44, underlay.distance / 2 - 9))
        anchors.verticalCenter: parent.verticalCenter
        name: "trash"
        color: underlay.armed ? Theme.destructiveText : Theme.secondText
    }
    Accessible.ignored: true
}
