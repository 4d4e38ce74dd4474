import QtQuick
import QtQuick.Templates as T
import Tarnwick

/// A square button with an icon. While its action is refused it can still be hovered and focused, so that its tool
/// tip gives the reason.
T.AbstractButton {
    id: button

    required property string iconName
    /// The accessible name, and the tool tip while the action is allowed.
    required property string label
    property bool allowed: true
    property string refusal
    property int size: Theme.actionButton
    property color fill: Theme.button
    property color hoverFill: Theme.pressed
    property color pressedFill: Theme.outline
    property color iconColor: Theme.text
    property color refusedColor: Theme.disabledIcon
    readonly property string helpText: allowed || refusal === "" ? label : refusal

    signal activated

    implicitWidth: size
    implicitHeight: size
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    onClicked: if (allowed) activated()

    contentItem: Item {
        Icon {
            anchors.centerIn: parent
            name: button.iconName
            color: button.allowed ? button.iconColor : button.refusedColor
        }
    }
    background: Rectangle {
        radius: Theme.controlRadius
        color: !button.allowed ? button.fill
             : button.down ? button.pressedFill : button.hovered ? button.hoverFill : button.fill
        opacity: button.allowed ? 1 : 0.6
        FocusRing {
            control: button
            radius: Theme.controlRadius + 2
            visible: button.visualFocus
        }
    }

    T.ToolTip.text: helpText
    T.ToolTip.visible: hovered || visualFocus
    T.ToolTip.delay: Theme.tipDelay
    T.ToolTip.timeout: Theme.tipTime

    Keys.onReturnPressed: button.clicked()
    Keys.onEnterPressed: button.clicked()
    Accessible.role: Accessible.Button
    Accessible.name: label
    Accessible.description: allowed ? "" : refusal
    Accessible.onPressAction: button.clicked()
}
