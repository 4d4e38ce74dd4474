import QtQuick
import Tarnwick

/// The context menu of a row. It acts on the task that it was opened for, and closes when the list uses the row's item
/// for another task.
PlainMenu {
    id: menu

    property TaskRow row
    property string taskId
    readonly property bool valid: row !== null && !row.pooled && row.taskId === taskId

    /// One of RowActions' actions.
    signal actionRequested(int action, string taskId)

    function openFor(row: TaskRow, position: point) {
        menu.row = row;
        taskId = row.taskId;
        popup(row, position);
    }

    onValidChanged: if (!valid) close()

    label: "图片操作"

    PlainMenuItem {
        text: "对比"
        shortcutText: "空格"
        enabled: menu.valid && menu.row.canCompare
        refusal: menu.row?.compareRefusal ?? ""
        onTriggered: menu.actionRequested(RowActions.Compare, menu.taskId)
    }
    PlainMenuItem {
        text: "恢复原图"
        enabled: menu.valid && menu.row.canRestore
        refusal: menu.row?.restoreRefusal ?? ""
        onTriggered: menu.actionRequested(RowActions.Restore, menu.taskId)
    }
    PlainMenuItem {
        text: "在 Finder 中显示"
        onTriggered: menu.actionRequested(RowActions.Reveal, menu.taskId)
    }
    MenuLine {}
    PlainMenuItem {
        text: "删除记录"
        shortcutText: "Delete"
        enabled: menu.valid && menu.row.canDelete
        refusal: menu.row?.deleteRefusal ?? ""
        onTriggered: menu.actionRequested(RowActions.Delete, menu.taskId)
    }
}
