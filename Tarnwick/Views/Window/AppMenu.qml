import QtQuick
import Tarnwick

PlainMenu {
    id: menu

    required property bool clearAllowed
    required property bool choosing

    signal chooserRequested
    signal clearRequested
    signal finderEnableRequested
    signal finderSettingsRequested
    signal aboutRequested
    signal quitRequested

    label: "Tarnwick 菜单"

    PlainMenuItem {
        text: "选择图片…"
        shortcutText: "Ctrl+O"
        enabled: !menu.choosing
        onTriggered: menu.chooserRequested()
    }
    PlainMenuItem {
        text: "清除所有记录…"
        shortcutText: "Ctrl+Shift+Delete"
        enabled: menu.clearAllowed
        refusal: "压缩完成后可清除记录"
        onTriggered: menu.clearRequested()
    }
    MenuLine {}
    PlainMenuItem {
        objectName: "enableFinderItem"
        text: "启用 Finder 右键菜单"
        onTriggered: menu.finderEnableRequested()
    }
    PlainMenuItem {
        objectName: "finderSettingsItem"
        text: "Finder 右键菜单设置…"
        onTriggered: menu.finderSettingsRequested()
    }
    PlainMenuItem {
        text: "关于 Tarnwick"
        onTriggered: menu.aboutRequested()
    }
    MenuLine {}
    PlainMenuItem {
        text: "退出"
        shortcutText: "Ctrl+Q"
        onTriggered: menu.quitRequested()
    }
}
