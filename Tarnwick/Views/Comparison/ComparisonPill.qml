import QtQuick
import Tarnwick

/// Names the picture on this side.
Rectangle {
    property alias text: label.text

    implicitWidth: label.implicitWidth + 24
    implicitHeight: 28
    radius: 14
    color: Theme.canvasPanel
    border.color: Theme.canvasLine

    PlainText {
        id: label
        anchors.centerIn: parent
        color: Theme.canvasText
        font.pixelSize: Theme.statusSize
        font.weight: Font.Medium
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
