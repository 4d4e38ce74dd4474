import QtQuick
import Tarnwick

/// A message that the user has to confirm.
Sheet {
    id: sheet

    required property string text
    /// Whether it has to wait for another dialog.
    required property bool held

    signal dismissed

    title: "请注意"
    message: text
    visible: text !== "" && !held
    onClosed: dismissed()

    PrimaryButton {
        objectName: "alertButton"
        text: "好"
        focus: true
        onClicked: sheet.close()
    }
}
