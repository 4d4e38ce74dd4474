import QtQuick
import Tarnwick

/// The context menu of a row.
PlainMenu {
    id: menu

    property TaskRow row

    label: "图片操作"

    PlainMenuItem {
        text: "对比"
        shortcutText: "空格"
        enabled: menu.row?.canCompare ?? false
        refusal: menu.row?.compareRefusal ?? ""
        onTriggered: menu.row.actionRequested(RowActions.Compare)
    }
    PlainMenuItem {
        text: "恢复原图"
        enabled: menu.row?.canRestore ?? false
        refusal: menu.row?.restoreRefusal ?? ""
        onTriggered: menu.row.actionRequested(RowActions.Restore)
    }
    PlainMenuItem {
        text: "在 Finder 中显示"
        onTriggered: menu.row.actionRequested(RowActions.Reveal)
    }
    MenuLine {}
    PlainMenuItem {
        text: "删除记录"
        shortcutText: "Delete"
        enabled: menu.row?.canDelete ?? false
        refusal: menu.row?.deleteRefusal ?? ""
        onTriggered: menu.row.actionRequested(RowActions.Delete)
    }
}
