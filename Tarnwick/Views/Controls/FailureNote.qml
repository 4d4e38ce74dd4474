import QtQuick
import Tarnwick

/// An error message within a window.
Rectangle {
    id: note

    property alias text: label.text

    implicitHeight: label.implicitHeight + 24
    radius: Theme.rowRadius
    color: Qt.alpha(Theme.failure, 0.1)
    visible: text !== ""

    Icon {
        x: 14
        anchors.verticalCenter: parent.verticalCenter
        name: "warning"
        size: 20
        color: Theme.failure
    }
    PlainText {
        id: label
        anchors.left: parent.left
        anchors.leftMargin: 46
        anchors.right: parent.right
        anchors.rightMargin: 14
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.failure
        font.pixelSize: Theme.statusSize
        lineHeight: 1.2
        wrapMode: Text.Wrap
        maximumLineCount: 6
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    Accessible.role: Accessible.AlertMessage
    Accessible.name: text
}
