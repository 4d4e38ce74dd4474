import QtQuick
import QtQuick.Layouts
import Tarnwick

/// A file manager in the settings.
Rectangle {
    id: row

    required property int index
    required property string name
    required property bool isEnabled

    signal switched(bool isEnabled)

    implicitHeight: 54
    radius: Theme.rowRadius
    color: Theme.row
    border.color: Theme.line

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 16
        anchors.rightMargin: 16
        spacing: 12

        Column {
            Layout.fillWidth: true
            spacing: 3

            PlainText {
                width: parent.width
                text: row.name
                color: Theme.text
                font.pixelSize: Theme.nameSize
                font.weight: Font.Medium
                elide: Text.ElideRight
                Accessible.ignored: true
            }
            PlainText {
                width: parent.width
                text: row.isEnabled ? "右键菜单已启用" : "右键菜单未启用"
                color: Theme.secondText
                font.pixelSize: Theme.statusSize
                elide: Text.ElideRight
                Accessible.ignored: true
            }
        }
        PlainSwitch {
            objectName: "extensionSwitch"
            text: row.name + " 的右键菜单"
            checked: row.isEnabled
            onToggled: row.switched(checked)
        }
    }
    Accessible.role: Accessible.ListItem
    Accessible.name: name
    Accessible.description: isEnabled ? "右键菜单已启用" : "右键菜单未启用"
}
