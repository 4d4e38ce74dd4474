import QtQuick
import Tarnwick

/// The two pictures, each on its side of the divider, which zoom and move together.
Item {
    id: canvas

    required property ComparisonModel model
    required property picture original
    required property picture compressed
    /// The rectangle of the whole picture.
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
    ComparisonGestureCapture {
        anchors.fill: parent
        model: canvas.model
        onScroll: delta => canvas.model.pan(delta)
        onMagnify: (magnification, position) => canvas.model.magnify(magnification, position)
        onDoubleClick: position => canvas.model.doubleClick(position)
        onDragStarted: canvas.model.beginDrag()
        onDragged: translation => canvas.model.drag(translation)
    }
    Accessible.role: Accessible.Graphic
    Accessible.name: "图片对比，左侧原图，右侧压缩后"
}
