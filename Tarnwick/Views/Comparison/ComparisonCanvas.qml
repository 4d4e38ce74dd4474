import QtQuick
import Tarnwick

/// The two pictures, one over the other, and every way to move them.
Item {
    id: canvas

    required property ComparisonModel model
    required property picture original
    required property picture compressed
    /// Where the whole picture lies.
    readonly property rect place: Qt.rect((width - displayed.width) / 2 + model.offset.x,
                                          (height - displayed.height) / 2 + model.offset.y,
                                          displayed.width, displayed.height)
    readonly property size displayed: model.displayedSize
    readonly property real cut: Math.round(width * model.split)

    clip: true
    onWidthChanged: model.viewport = Qt.size(width, height)
    onHeightChanged: model.viewport = Qt.size(width, height)
    Component.onCompleted: model.viewport = Qt.size(width, height)

    Connections {
        target: canvas.model
        function onZoomRequestChanged() {
            if (canvas.model.zoomRequest > 0)
                canvas.model.performZoomRequest();
        }
    }
    ComparisonSide {
        objectName: "originalSide"
        width: canvas.cut
        height: canvas.height
        picture: canvas.original
        place: canvas.place
    }
    ComparisonSide {
        objectName: "compressedSide"
        x: canvas.cut
        width: canvas.width - canvas.cut
        height: canvas.height
        picture: canvas.compressed
        place: canvas.place
    }
    HoverHandler {
        cursorShape: drag.active ? Qt.ClosedHandCursor : Qt.ArrowCursor
    }
    DragHandler {
        id: drag
        target: null
        dragThreshold: 2
        onActiveChanged: if (active) canvas.model.beginDrag()
        onActiveTranslationChanged: if (active) canvas.model.drag(Qt.point(activeTranslation.x, activeTranslation.y))
    }
    TapHandler {
        onDoubleTapped: eventPoint => canvas.model.doubleClick(eventPoint.position)
    }
    PinchHandler {
        id: pinch
        property real before: 1
        target: null
        onActiveChanged: before = 1
        onActiveScaleChanged: {
            if (active) {
                canvas.model.pinch(activeScale / before - 1, centroid.position);
                before = activeScale;
            }
        }
    }
    WheelHandler {
        target: null
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        onWheel: event => {
            const lines = Qt.point(event.angleDelta.x / 120, event.angleDelta.y / 120);
            canvas.model.scroll(event.pixelDelta, lines, (event.modifiers & Qt.ControlModifier) !== 0,
                                Qt.point(event.x, event.y));
        }
    }
    Accessible.role: Accessible.Graphic
    Accessible.name: "图片对比，左侧原图，右侧压缩后"
}
