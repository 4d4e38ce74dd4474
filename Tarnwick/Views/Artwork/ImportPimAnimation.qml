import QtQuick
import Tarnwick

/// After an import Pim rises over the window's lower edge, waves and dives again. It takes no input.
Item {
    id: splash

    /// Changes with every import.
    required property string importId
    readonly property bool playing: passage.running

    implicitHeight: scene.implicitHeight
    clip: true
    visible: passage.running
    onImportIdChanged: {
        if (importId !== "" && Theme.animated) {
            passage.restart();
            scene.play();
        }
    }

    PimWaveArtwork {
        id: scene
        anchors.horizontalCenter: parent.horizontalCenter
        y: height
        Accessible.ignored: true
    }
    SequentialAnimation {
        id: passage

        NumberAnimation {
            target: scene
            property: "y"
            from: scene.height
            to: 0
            duration: 200
            easing.type: Easing.OutCubic
        }
        PauseAnimation {
            duration: 900
        }
        NumberAnimation {
            target: scene
            property: "y"
            to: scene.height
            duration: 200
            easing.type: Easing.InCubic
        }
    }
}
