import QtQuick
import Tarnwick

Rectangle {
    id: bar

    required property int percent
    required property bool actualSize
    /// Whether the picture has neither the fitting nor the actual size.
    required property bool zoomed

    signal zoomInRequested
    signal zoomOutRequested
    signal fitRequested
    signal actualSizeRequested

    implicitWidth: row.implicitWidth + 16
    implicitHeight: 44
    radius: 22
    color: Theme.canvasPanel
    border.color: Theme.canvasLine

    Row {
        id: row
        anchors.centerIn: parent
        spacing: 4

        CanvasButton {
            objectName: "zoomOut"
            iconName: "zoom-out"
            label: "缩小图片"
            onActivated: bar.zoomOutRequested()
        }
        PlainText {
            objectName: "zoomPercent"
            width: 56
            anchors.verticalCenter: parent.verticalCenter
            horizontalAlignment: Text.AlignHCenter
            text: bar.percent + "%"
            color: Theme.canvasText
            font.pixelSize: Theme.controlSize
            Accessible.role: Accessible.StaticText
            Accessible.name: "显示比例 " + text
        }
        CanvasButton {
            objectName: "zoomIn"
            iconName: "zoom-in"
            label: "放大图片；鼠标滚轮或双击也可缩放"
            onActivated: bar.zoomInRequested()
        }
        Item {
            width: 13
            height: 32
            Rectangle {
                anchors.centerIn: parent
                width: 1
                height: 20
                color: Theme.canvasLine
            }
        }
        CanvasTextButton {
            objectName: "fitButton"
            text: "适合窗口"
            checked: !bar.actualSize && !bar.zoomed
            onClicked: bar.fitRequested()
        }
        CanvasTextButton {
            objectName: "actualSizeButton"
            text: "实际大小"
            checked: bar.actualSize && !bar.zoomed
            onClicked: bar.actualSizeRequested()
        }
    }
    // Keeps a drag on the bar from moving the picture below.
    TapHandler {
        gesturePolicy: TapHandler.ReleaseWithinBounds
    }
    Accessible.role: Accessible.ToolBar
    Accessible.name: "对比工具栏"
}
