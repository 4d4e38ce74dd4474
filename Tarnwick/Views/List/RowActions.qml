import QtQuick
import Tarnwick

/// The buttons of a row.
Row {
    id: actions

    enum Action { Compare, Restore, Reveal, Delete }

    required property bool canCompare
    required property bool canRestore
    required property bool canDelete
    required property string compareRefusal
    required property string restoreRefusal
    required property string deleteRefusal

    signal actionRequested(int action)

    spacing: 6

    IconButton {
        objectName: "compareAction"
        iconName: "compare"
        label: "对比"
        allowed: actions.canCompare
        refusal: actions.compareRefusal
        onActivated: actions.actionRequested(RowActions.Compare)
    }
    IconButton {
        objectName: "restoreAction"
        iconName: "restore"
        label: "恢复原图"
        allowed: actions.canRestore
        refusal: actions.restoreRefusal
        onActivated: actions.actionRequested(RowActions.Restore)
    }
    IconButton {
        objectName: "revealAction"
        iconName: "folder"
        label: "在 Finder 中显示"
        onActivated: actions.actionRequested(RowActions.Reveal)
    }
    IconButton {
        objectName: "deleteAction"
        iconName: "trash"
        label: "删除记录"
        allowed: actions.canDelete
        refusal: actions.deleteRefusal
        onActivated: actions.actionRequested(RowActions.Delete)
    }
}
