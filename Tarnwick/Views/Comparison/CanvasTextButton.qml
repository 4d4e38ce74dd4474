import QtQuick
import QtQuick.Templates as T
import Tarnwick

/// A radio button on the comparison's tool bar.
T.AbstractButton {
    id: button

    implicitWidth: contentItem.implicitWidth + 20
    implicitHeight: 32
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    checkable: false

    contentItem: PlainText {
        text: button.text
        color: button.checked ? Theme.canvasText : Theme.canvasSecondText
        font.pixelSize: Theme.controlSize
        font.weight: button.checked ? Font.DemiBold : Font.Normal
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: Theme.controlRadius
        color: button.down ? Theme.canvasPressed : button.checked || button.hovered ? Theme.canvasHover : "transparent"
        FocusRing {
            control: button
            radius: Theme.controlRadius + 2
            visible: button.visualFocus
        }
    }
    Keys.onReturnPressed: button.clicked()
    Keys.onEnterPressed: button.clicked()
    Accessible.role: Accessible.RadioButton
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onPressAction: button.clicked()
}
