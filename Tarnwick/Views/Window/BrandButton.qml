import QtQuick
import QtQuick.Templates as T
import Tarnwick

/// The application's name, which opens its menu.
T.AbstractButton {
    id: button

    property bool open

    text: "Tarnwick"
    implicitWidth: contentItem.implicitWidth + 12
    implicitHeight: Theme.controlHeight
    hoverEnabled: true
    focusPolicy: Qt.TabFocus

    contentItem: Row {
        leftPadding: 6
        rightPadding: 2
        spacing: 2

        PlainText {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            color: Theme.text
            font.pixelSize: Theme.titleSize
            font.weight: Font.DemiBold
            Accessible.ignored: true
        }
        Icon {
            anchors.verticalCenter: parent.verticalCenter
            name: "chevron-down"
            size: 16
            color: Theme.secondText
        }
    }
    background: Rectangle {
        radius: Theme.controlRadius
        color: button.down || button.open ? Theme.pressed : button.hovered ? Theme.button : "transparent"
        FocusRing {
            control: button
            radius: Theme.controlRadius + 2
            visible: button.visualFocus
        }
    }
    Keys.onReturnPressed: button.clicked()
    Keys.onEnterPressed: button.clicked()
    Keys.onDownPressed: button.clicked()
    Accessible.role: Accessible.ButtonMenu
    Accessible.name: "Tarnwick 菜单"
    Accessible.onPressAction: button.clicked()
}
