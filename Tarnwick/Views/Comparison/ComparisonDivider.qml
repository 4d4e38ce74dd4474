import QtQuick
import Tarnwick

/// The line between the two pictures, with the handle that moves it.
Item {
    id: divider

    /// 0 at the left edge, 1 at the right.
    required property real split
    required property real span

    signal splitRequested(real split)
    signal stepRequested(int steps)

    width: 36
    x: split * span - width / 2
    activeFocusOnTab: true

    Rectangle {
        anchors.horizontalCenter: parent.horizontalCenter
        width: 2
        height: parent.height
        color: Theme.divider
    }
    Rectangle {
        anchors.centerIn: parent
        width: 36
        height: 36
        radius: 18
        color: Theme.divider
        border.width: divider.activeFocus ? 3 : 0
        border.color: Theme.progress
        scale: mouse.containsMouse || mouse.pressed ? 1.08 : 1

        Behavior on scale {
            NumberAnimation {
                duration: Theme.shortTime
                easing.type: Easing.OutCubic
            }
        }
        Icon {
            anchors.centerIn: parent
            name: "divider"
            size: 20
            color: Theme.dividerIcon
        }
    }
    MouseArea {
        id: mouse

        // The distance of the press from the line.
        property real grip

        anchors.fill: parent
        hoverEnabled: true
        preventStealing: true
        cursorShape: Qt.SplitHCursor
        onPressed: event => grip = event.x - width / 2
        onPositionChanged: event => {
            if (pressed && divider.span > 0)
                divider.splitRequested((divider.x + event.x - grip) / divider.span);
        }
        Accessible.ignored: true
    }
    Keys.onLeftPressed: stepRequested(-1)
    Keys.onRightPressed: stepRequested(1)
    Accessible.role: Accessible.Slider
    Accessible.name: "分隔线"
    Accessible.description: "左侧原图占 " + Math.round(split * 100) + "%，用左右方向键移动"
    Accessible.focusable: true
    Accessible.onIncreaseAction: stepRequested(1)
    Accessible.onDecreaseAction: stepRequested(-1)
}
