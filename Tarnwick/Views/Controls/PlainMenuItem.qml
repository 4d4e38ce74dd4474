import QtQuick
import QtQuick.Templates as T
import Tarnwick

/// A menu item with its shortcut. While it is disabled, its tool tip gives the reason.
T.MenuItem {
    id: item

    property string shortcutText
    property string refusal

    implicitWidth: contentItem.implicitWidth
    implicitHeight: 32
    hoverEnabled: true

    contentItem: PlainMenuLabel {
        text: item.text
        shortcutText: item.shortcutText
        refusal: item.refusal
        allowed: item.enabled
    }
    background: Rectangle {
        radius: 6
        color: item.highlighted && item.enabled ? Theme.hover : "transparent"
    }
    Accessible.role: Accessible.MenuItem
    Accessible.name: text
    Accessible.description: enabled ? shortcutText : refusal
}
