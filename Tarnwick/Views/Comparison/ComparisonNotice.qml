import QtQuick
import Tarnwick

/// Shown instead of the pictures, while they are loaded and when that fails.
Column {
    id: notice

    /// Empty while the pictures are loaded.
    required property string failure

    signal closeRequested

    spacing: 14

    BusyMark {
        anchors.horizontalCenter: parent.horizontalCenter
        size: 28
        visible: notice.failure === "" && notice.visible
        label: "正在载入图片"
    }
    Icon {
        anchors.horizontalCenter: parent.horizontalCenter
        name: "warning"
        size: 30
        color: Theme.canvasFailure
        visible: notice.failure !== ""
    }
    PlainText {
        objectName: "comparisonNotice"
        width: parent.width
        horizontalAlignment: Text.AlignHCenter
        text: notice.failure === "" ? "正在载入图片…" : notice.failure
        color: notice.failure === "" ? Theme.canvasSecondText : Theme.canvasFailure
        font.pixelSize: Theme.nameSize
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    PrimaryButton {
        objectName: "closeNotice"
        anchors.horizontalCenter: parent.horizontalCenter
        visible: notice.failure !== ""
        text: "关闭"
        onClicked: notice.closeRequested()
    }
}
