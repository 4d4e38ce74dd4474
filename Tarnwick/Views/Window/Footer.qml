import QtQuick
import QtQuick.Layouts
import Tarnwick

/// The progress of the batch.
Rectangle {
    id: footer

    required property int doneCount
    required property int totalCount
    required property string savedText
    required property int rowCount

    implicitHeight: Theme.footerHeight
    color: Theme.window

    Rectangle {
        width: parent.width
        height: 1
        color: Theme.line
    }
    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.edge + 4
        anchors.rightMargin: Theme.edge + 4
        spacing: Theme.edge

        PlainText {
            objectName: "footerText"
            Layout.fillWidth: true
            text: footer.totalCount === 0 ? "共 " + footer.rowCount + " 条记录"
                                          : "已完成 " + footer.doneCount + " / " + footer.totalCount
                                            + (footer.savedText === "" ? "" : " · 已节省 " + footer.savedText)
            color: Theme.secondText
            font.pixelSize: Theme.statusSize
            elide: Text.ElideRight
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        ProgressLine {
            visible: footer.totalCount > 0
            value: footer.totalCount > 0 ? footer.doneCount / footer.totalCount : 0
            label: "本批进度"
            Layout.preferredWidth: Math.min(160, footer.width / 3)
        }
    }
}
