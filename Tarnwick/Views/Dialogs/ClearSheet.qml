import QtQuick
import Tarnwick

/// Asks before the whole history is deleted.
Sheet {
    id: sheet
    objectName: "clearSheet"

    signal confirmed

    title: "清除所有记录？"
    message: "这会删除所有记录及其原图备份，已压缩的图片将无法恢复原图。"

    // Otherwise the button pressed last time would have the focus.
    onAboutToShow: cancel.focus = true

    SecondaryButton {
        id: cancel
        objectName: "cancelClearButton"
        text: "取消"
        onClicked: sheet.close()
    }
    DestructiveButton {
        objectName: "confirmClearButton"
        text: "清除所有记录"
        onClicked: {
            sheet.close();
            sheet.confirmed();
        }
    }
}
