import QtQuick
import Tarnwick

/// Shown while the list is empty.
Item {
    id: view

    required property bool targeted

    implicitHeight: column.implicitHeight

    Column {
        id: column

        anchors.centerIn: parent
        anchors.verticalCenterOffset: -12
        width: parent.width - 2 * Theme.edge
        spacing: 10

        PimWaveArtwork {
            id: pim
            anchors.horizontalCenter: parent.horizontalCenter
            curious: view.targeted
        }
        Item {
            width: 1
            height: 6
        }
        PlainText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "把图片拖到这里"
            color: Theme.text
            font.pixelSize: Theme.headingSize
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        HintLine {
            width: parent.width
            text: "PNG、JPG、GIF 和 HEIC/HEIF，原地压缩"
        }
        HintLine {
            width: parent.width
            text: "原图保留 4 小时，可随时对比和恢复"
        }
    }
}
