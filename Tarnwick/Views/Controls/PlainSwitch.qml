import QtQuick
import QtQuick.Templates as T
import Tarnwick

/// A switch. Its text is only the accessible name and is not drawn.
T.Switch {
    id: control

    implicitWidth: 40
    implicitHeight: 24
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus

    indicator: Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: control.checked ? (control.hovered ? Theme.accentHover : Theme.accent)
                               : (control.hovered ? Theme.outline : Theme.switchOff)

        Behavior on color {
            ColorAnimation {
                duration: Theme.shortTime
            }
        }
        Rectangle {
            readonly property int margin: 3

            x: control.checked ? parent.width - width - margin : margin
            anchors.verticalCenter: parent.verticalCenter
            width: parent.height - 2 * margin
            height: width
            radius: width / 2
            color: Theme.accentText

            Behavior on x {
                NumberAnimation {
                    duration: Theme.shortTime
                    easing.type: Easing.OutCubic
                }
            }
        }
        FocusRing {
            control: control
            radius: height / 2
            visible: control.visualFocus
        }
    }
    Keys.onReturnPressed: toggleByKey()
    Keys.onEnterPressed: toggleByKey()
    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onPressAction: toggleByKey()
    Accessible.onToggleAction: toggleByKey()

    function toggleByKey() {
        toggle();
        toggled();
    }
}
