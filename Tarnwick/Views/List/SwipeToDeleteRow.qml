import QtQuick
import Tarnwick

/// Drags a card to the left; let go beyond the threshold, it asks for the row's deletion. The card always comes
/// back on the spring: until the record is gone, the row is still there.
Item {
    id: swipe

    required property Item card
    required property bool allowed
    readonly property real threshold: Math.min(160, parent.width * 0.35)
    readonly property bool armed: allowed && -card.x >= threshold
    readonly property bool dragging: drag.active

    signal triggered

    anchors.fill: parent

    function settle() {
        if (Theme.animated)
            comeBack.restart();
        else
            card.x = 0;
    }

    DragHandler {
        id: drag

        target: swipe.card
        yAxis.enabled: false
        xAxis.minimum: swipe.allowed ? -swipe.card.width : -24
        xAxis.maximum: 0
        onActiveChanged: {
            if (active) {
                comeBack.stop();
                return;
            }
            if (swipe.armed)
                swipe.triggered();
            swipe.settle();
        }
    }
    SpringAnimation {
        id: comeBack
        target: swipe.card
        property: "x"
        to: 0
        spring: Theme.deleteSpring
        damping: Theme.deleteDamping
        epsilon: 0.25
    }
}
