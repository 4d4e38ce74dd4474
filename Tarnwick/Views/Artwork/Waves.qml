import QtQuick
import Tarnwick

/// One layer of water, in front of Pim or behind. While it flows, its waves move sideways in a loop.
Item {
    id: waves

    required property bool front
    property bool flowing
    /// The length of a wave. The artwork has four.
    readonly property int period: 120
    property real phase: front ? 0.35 : 0

    clip: true

    Image {
        id: picture
        x: -waves.period * (waves.phase + 0.5)
        width: 480
        height: 64
        sourceSize.width: 480
        sourceSize.height: 64
        source: waves.front ? "wave-front.svg" : "wave-back.svg"
        Accessible.ignored: true
    }
    NumberAnimation on phase {
        running: waves.flowing && waves.visible && Theme.animated
        from: waves.front ? 0.35 : 1
        to: waves.front ? 1.35 : 0
        duration: waves.front ? 2600 : 3800
        loops: Animation.Infinite
    }
}
