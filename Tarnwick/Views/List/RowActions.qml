import QtQuick
import Tarnwick

/// What can be done with a row's picture.
Row {
    id: actions

    required property bool canCompare
    required property bool canRestore
    required property bool canDelete
    required property string compareRefusal
    required property string restoreRefusal
    required property string deleteRefusal

    signal compareRequested
    signal restoreRequested
    signal revealRequested
    signal deleteRequested

    spacing: 6

    IconButton {
        objectName: "compareAction"
        iconName: "compare"
        label: "对比"
        allowed: actions.canCompare
        refusal: actions.compareRefusal
        onActivated: actions.compareRequested()
    }
    IconButton {
        objectName: "restoreAction"
        iconName: "restore"
        label: "恢复原图"
        allowed: actions.canRestore
        refusal: actions.restoreRefusal
        onActivated: actions.restoreRequested()
    }
    IconButton {
        objectName: "revealAction"
        iconName: "folder"
        label: "在 Finder 中显示"
        onActivated: actions.revealRequested()
    }
    IconButton {
        objectName: "deleteAction"
        iconName: "trash"
        label: "删除记录"
        allowed: actions.canDelete
        refusal: actions.deleteRefusal
        onActivated: actions.deleteRequested()
    }
}
