import QtQuick
import Tarnwick

Sheet {
    id: sheet

    title: "Tarnwick " + Qt.application.version
    message: "把图片变小，画质不变。\n压缩在这台电脑上完成，图片不会上传到任何地方。"
    artwork: PimWaveArtwork {
        anchors.horizontalCenter: parent.horizontalCenter
    }

    PrimaryButton {
        text: "好"
        focus: true
        onClicked: sheet.close()
    }
}
