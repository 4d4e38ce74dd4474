import QtQuick
import Tarnwick

/// Captures the pointer's events over the comparison. Positions are in this item's coordinates.
Item {
    id: capture

    /// Its arithmetic decides whether a scroll zooms.
    required property ComparisonModel model

    /// A scroll that does not zoom, in points.
    signal scroll(point delta)
    /// A turn of the wheel or a pinch. 0 changes nothing, 1 doubles the size.
    signal magnify(real magnification, point position)
    signal doubleClick(point position)
    signal dragStarted
    /// `translation` is counted from the start of the drag.
    signal dragged(point translation)

    HoverHandler {
        cursorShape: drag.active ? Qt.ClosedHandCursor : Qt.ArrowCursor
    }
    DragHandler {
        id: drag
        target: null
        dragThreshold: 2
        onActiveChanged: if (active) capture.dragStarted()
        onActiveTranslationChanged: if (active) capture.dragged(Qt.point(activeTranslation.x, activeTranslation.y))
    }
    TapHandler {
        onDoubleTapped: eventPoint => capture.doubleClick(eventPoint.position)
    }
    PinchHandler {
        property real before: 1
        target: null
        onActiveChanged: before = 1
        onActiveScaleChanged: {
            if (active) {
                capture.magnify(activeScale / before - 1, centroid.position);
                before = activeScale;
            }
        }
    }
    WheelHandler {
        target: null
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        onWheel: event => {
            const lines = Qt.point(event.angleDelta.x / 120, event.angleDelta.y / 120);
            const control = (event.modifiers & Qt.ControlModifier) !== 0;
            const magnification = capture.model.wheelMagnification(event.pixelDelta, lines, control);
            if (isNaN(magnification))
                capture.scroll(event.pixelDelta);
            else
                capture.magnify(magnification, Qt.point(event.x, event.y));
        }
    }
}
