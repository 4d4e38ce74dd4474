pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import QtQuick.Templates as T
import Tarnwick

/// Where the user switches the entries in the file managers' menus on and off.
ApplicationWindow {
    id: window

    required property ExtensionSettings settings

    title: "Finder 右键菜单设置"
    width: 420
    height: 480
    minimumWidth: 320
    minimumHeight: 320
    color: Theme.window
    palette.toolTipBase: Theme.tip
    palette.toolTipText: Theme.tipText
    palette.dark: Theme.tip
    // The entries may have been changed by other programs.
    onActiveChanged: if (active) settings.reload()

    Connections {
        target: window.settings
        function onShowRequested() {
            window.show();
            window.requestActivate();
        }
    }
    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.edge
        spacing: 12

        PlainText {
            Layout.fillWidth: true
            Layout.topMargin: 4
            text: "Finder 右键菜单"
            color: Theme.text
            font.pixelSize: Theme.titleSize
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        PlainText {
            Layout.fillWidth: true
            text: "启用后，在文件管理器中右键点按图片，即可用 Tarnwick 压缩。"
            color: Theme.secondText
            font.pixelSize: Theme.controlSize
            lineHeight: 1.25
            wrapMode: Text.Wrap
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        ListView {
            id: list
            objectName: "extensionList"
            Layout.fillWidth: true
            Layout.fillHeight: true
            // Leaves room for the scroll bar in the window's margin.
            Layout.rightMargin: -Theme.edge
            visible: count > 0
            model: window.settings
            spacing: Theme.rowSpacing
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            delegate: ExtensionRow {
                width: ListView.view.width - Theme.edge
                onSwitched: isEnabled => window.settings.setEnabled(index, isEnabled)
            }
            T.ScrollBar.vertical: ThinScrollBar {}
            Accessible.role: Accessible.List
            Accessible.name: "文件管理器"
        }
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: !list.visible

            BusyMark {
                anchors.centerIn: parent
                size: 28
                visible: !window.settings.isLoaded && window.settings.failure === ""
                label: "正在查找文件管理器"
            }
            HintLine {
                objectName: "noneFound"
                anchors.centerIn: parent
                width: parent.width
                visible: window.settings.isLoaded
                text: "没有找到受支持的文件管理器。\n支持 Nautilus、Nemo、Caja、Thunar 和 Dolphin。"
                lineHeight: 1.3
            }
        }
        FailureNote {
            objectName: "extensionFailure"
            Layout.fillWidth: true
            text: window.settings.failure
        }
        PrimaryButton {
            objectName: "closeExtensionSettings"
            Layout.alignment: Qt.AlignRight
            text: "完成"
            onClicked: window.close()
        }
    }
    Shortcut {
        sequences: ["Escape", "Ctrl+W"]
        onActivated: window.close()
    }
}
