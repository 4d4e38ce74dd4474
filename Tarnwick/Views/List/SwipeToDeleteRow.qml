import QtQuick
import Tarnwick

/// A row whose content can be dragged to the left. When it is released beyond the threshold, the row asks for its
/// deletion. The content always springs back: until the record is deleted, the row is still there.
Item {
    id: swipe

    required property bool allowed
    default property alias content: card.data
    readonly property real threshold: Math.min(160, width * 0.35)
    readonly property bool armed: allowed && -card.x >= threshold

    signal triggered

    function settle() {
        if (Theme.animated)
            springBack.restart();
        else
            card.x = 0;
    }

    SwipeUnderlay {
        anchors.fill: parent
        visible: card.x < 0
        distance: -card.x
        armed: swipe.armed
    }
    Item {
        id: card
        objectName: "card"
        width: swipe.width
        height: swipe.height
    }
    DragHandler {
        target: card
        yAxis.enabled: false
        xAxis.minimum: swipe.allowed ? -card.width : -24
        xAxis.maximum: 0
        onActiveChanged: {
            if (active) {
                springBack.stop();
                return;
            }
            if (swipe.armed)
                swipe.triggered();
            swipe.settle();
        }
    }
    SpringAnimation {
        id: springBack
        target: card
        property: "x"
        to: 0
        spring: Theme.deleteSpring
        damping: Theme.deleteDamping
        epsilon: 0.25
    }
}
