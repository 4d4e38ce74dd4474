import QtQuick
import QtQuick.Templates as T
import Tarnwick

T.Button {
    id: button

    property color fill: Theme.accent
    property color hoverFill: Theme.accentHover
    property color pressedFill: Theme.accentPressed
    property color textColor: Theme.accentText
    property string helpText

    implicitWidth: Math.max(104, contentItem.implicitWidth + 36)
    implicitHeight: Theme.controlHeight
    focusPolicy: Qt.StrongFocus
    font.pixelSize: Theme.controlSize
    font.weight: Font.Medium

    contentItem: PlainText {
        text: button.text
        font: button.font
        color: button.enabled ? button.textColor : Theme.disabledIcon
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: Theme.controlRadius
        color: !button.enabled ? Theme.button
             : button.down ? button.pressedFill : button.hovered ? button.hoverFill : button.fill
        Behavior on color {
            ColorAnimation {
                duration: Theme.shortTime
            }
        }
        FocusRing {
            control: button
            radius: Theme.controlRadius + 2
            visible: button.visualFocus
        }
    }

    T.ToolTip.text: helpText
    T.ToolTip.visible: helpText !== "" && hovered
    T.ToolTip.delay: Theme.tipDelay
    T.ToolTip.timeout: Theme.tipTime

    Keys.onReturnPressed: button.clicked()
    Keys.onEnterPressed: button.clicked()
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: helpText
    Accessible.onPressAction: button.clicked()
}
