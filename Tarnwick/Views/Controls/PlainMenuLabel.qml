import QtQuick
import QtQuick.Templates as T
import Tarnwick

/// The text and the shortcut of a menu item.
Item {
    id: label

    required property string text
    required property string shortcutText
    required property string refusal
    required property bool allowed

    implicitWidth: name.implicitWidth + (shortcutText === "" ? 0 : shortcut.implicitWidth + 24) + 20
    implicitHeight: name.implicitHeight

    PlainText {
        id: name
        x: 10
        anchors.verticalCenter: parent.verticalCenter
        text: label.text
        font.pixelSize: Theme.controlSize
        color: label.allowed ? Theme.text : Theme.disabledIcon
        Accessible.ignored: true
    }
    PlainText {
        id: shortcut
        anchors.right: parent.right
        anchors.rightMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        text: label.shortcutText
        font.pixelSize: Theme.statusSize
        color: label.allowed ? Theme.secondText : Theme.disabledIcon
        Accessible.ignored: true
    }
    // A disabled menu item receives no pointer events, but its content does.
    HoverHandler {
        id: hover
    }
    T.ToolTip.text: refusal
    T.ToolTip.visible: !allowed && refusal !== "" && hover.hovered
    T.ToolTip.delay: Theme.tipDelay
    T.ToolTip.timeout: Theme.tipTime
}
