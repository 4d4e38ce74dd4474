import QtQuick
import QtQuick.Dialogs
import Tarnwick

/// The desktop's own file chooser if it has one, otherwise Qt's.
FileDialog {
    id: dialog

    required property QuickFileChooser chooser

    title: "选择图片"
    acceptLabel: "选择"
    rejectLabel: "取消"
    fileMode: FileDialog.OpenFiles
    nameFilters: chooser.nameFilters
    onAccepted: chooser.finish(selectedFiles)
    onRejected: chooser.finish([])

    readonly property Connections connections: Connections {
        target: dialog.chooser
        function onOpenRequested() {
            dialog.open();
        }
    }
}
