import QtQuick
import Tarnwick

/// Asks before the whole history goes.
Sheet {
    id: sheet

    signal confirmed

    title: "清除所有记录？"
    message: "这会删除所有记录及其原图备份，已压缩的图片将无法恢复原图。"

    // Not the button that was pressed the last time.
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
