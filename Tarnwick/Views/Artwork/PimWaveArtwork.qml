import QtQuick
import Tarnwick

/// Pim, the mascot, between two waves.
Item {
    id: scene

    /// Raises Pim a little.
    property bool curious
    property bool flowing: curious || greeting.running
    property real lift: curious ? 12 : 0
    property real hop
    property real tilt

    implicitWidth: 220
    implicitHeight: 150
    clip: true

    /// Lets Pim hop, unless the desktop asks for less motion.
    function play() {
        if (Theme.animated)
            greeting.restart();
    }

    Behavior on lift {
        NumberAnimation {
            duration: Theme.longTime
            easing.type: Easing.OutCubic
        }
    }
    Waves {
        front: false
        flowing: scene.flowing
        width: parent.width
        height: 56
        anchors.bottom: parent.bottom
    }
    Image {
        x: (scene.width - width) / 2
        y: 22 - scene.lift - scene.hop
        width: 132
        height: 128
        rotation: scene.tilt
        sourceSize.width: 132
        sourceSize.height: 128
        source: "pim.svg"
        Accessible.role: Accessible.Graphic
        Accessible.name: "Pim，Tarnwick 的吉祥物"
    }
    Waves {
        front: true
        flowing: scene.flowing
        width: parent.width
        height: 40
        anchors.bottom: parent.bottom
    }

    SequentialAnimation {
        id: greeting

        loops: 2
        ParallelAnimation {
            NumberAnimation {
                target: scene
                property: "hop"
                to: 10
                duration: 180
                easing.type: Easing.OutCubic
            }
            NumberAnimation {
                target: scene
                property: "tilt"
                to: 5
                duration: 180
                easing.type: Easing.OutCubic
            }
        }
        ParallelAnimation {
            NumberAnimation {
                target: scene
                property: "hop"
                to: 0
                duration: 200
                easing.type: Easing.OutCubic
            }
            NumberAnimation {
                target: scene
                property: "tilt"
                to: -4
                duration: 200
                easing.type: Easing.OutCubic
            }
        }
        NumberAnimation {
            target: scene
            property: "tilt"
            to: 0
            duration: 160
            easing.type: Easing.OutCubic
        }
    }
}
