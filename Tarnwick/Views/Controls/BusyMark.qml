import QtQuick
import Tarnwick

/// A busy indicator. It does not rotate when the desktop asks for less motion.
Icon {
    id: mark

    property string label: "正在处理"

    name: "busy"
    color: Theme.progress

    RotationAnimator on rotation {
        running: mark.visible && Theme.animated
        from: 0
        to: 360
        duration: 1000
        loops: Animation.Infinite
    }
    Accessible.ignored: false
    Accessible.role: Accessible.Indicator
    Accessible.name: label
}
