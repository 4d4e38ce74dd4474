import QtQuick
import QtQuick.Layouts
import Tarnwick

Item {
    id: bar

    required property bool choosing
    required property bool clearShown
    required property bool clearAllowed
    property bool menuOpen

    signal chooserRequested
    signal clearRequested
    signal menuRequested(Item anchor)

    implicitHeight: Theme.topBarHeight

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.edge - 2
        anchors.rightMargin: Theme.edge
        spacing: 8

        BrandButton {
            open: bar.menuOpen
            onClicked: bar.menuRequested(this)
        }
        Item {
            Layout.fillWidth: true
        }
        PrimaryButton {
            objectName: "chooserButton"
            text: "选择图片…"
            enabled: !bar.choosing
            helpText: "也可以把图片拖到窗口里"
            onClicked: bar.chooserRequested()
        }
        IconButton {
            objectName: "clearButton"
            visible: bar.clearShown
            size: Theme.controlHeight
            iconName: "trash"
            label: "清除所有记录"
            allowed: bar.clearAllowed
            refusal: "压缩完成后可清除记录"
            onActivated: bar.clearRequested()
        }
    }
}
