import QtQuick
import Tarnwick

/// The original and the compressed picture of a row, side by side under a movable divider.
FocusScope {
    id: view

    required property AppModel appModel
    required property string taskId
    readonly property bool ready: pictures.status === ComparisonLoader.Ready
    readonly property ComparisonModel geometry: pictures.model

    signal closeRequested

    focus: true
    Keys.onEscapePressed: closeRequested()
    Keys.onLeftPressed: divider.stepRequested(-1)
    Keys.onRightPressed: divider.stepRequested(1)

    ComparisonLoader {
        id: pictures
        appModel: view.appModel
        taskId: view.taskId
    }
    // Keeps the pointer's events from what is below the comparison.
    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        acceptedButtons: Qt.AllButtons
        onWheel: wheel => wheel.accepted = true
    }
    Rectangle {
        anchors.fill: parent
        color: Theme.canvas
    }
    ComparisonCanvas {
        objectName: "canvas"
        anchors.fill: parent
        visible: view.ready
        model: view.geometry
        original: pictures.original
        compressed: pictures.compressed
    }
    ComparisonDivider {
        id: divider
        objectName: "divider"
        height: parent.height
        visible: view.ready
        split: view.geometry.split
        span: parent.width
        onSplitRequested: split => view.geometry.split = split
        onStepRequested: steps => view.geometry.stepSplit(steps)
    }
    ComparisonPill {
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.margins: Theme.edge
        visible: view.ready
        text: "原图 · " + view.geometry.item.originalSizeText
    }
    ComparisonPill {
        anchors.right: closeButton.left
        anchors.top: parent.top
        anchors.margins: Theme.edge
        anchors.rightMargin: 8
        visible: view.ready
        text: "压缩后 · " + view.geometry.item.compressedSizeText + " · " + view.geometry.item.badgeText
    }
    CanvasButton {
        id: closeButton
        objectName: "closeComparison"
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Theme.edge - 2
        iconName: "close"
        label: "关闭对比"
        fill: Theme.canvasPanel
        onActivated: view.closeRequested()
    }
    ComparisonNotice {
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.edge, 360)
        visible: !view.ready
        failure: pictures.errorText
        onCloseRequested: view.closeRequested()
    }
    ComparisonToolBar {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.edge
        visible: view.ready
        percent: view.geometry.percent
        actualSize: view.geometry.actualSize
        zoomed: view.geometry.zoom !== 1
        onZoomInRequested: view.geometry.requestZoomIn()
        onZoomOutRequested: view.geometry.requestZoomOut()
        onFitRequested: view.geometry.actualSize = false
        onActualSizeRequested: view.geometry.actualSize = true
    }
    Accessible.role: Accessible.Pane
    Accessible.name: "图片对比"
}
