import QtQuick
import Tarnwick

/// The percentage saved.
Rectangle {
    property alias text: label.text

    implicitWidth: label.implicitWidth + 18
    implicitHeight: 24
    radius: 12
    color: Theme.badge

    PlainText {
        id: label
        anchors.centerIn: parent
        color: Theme.badgeText
        font.pixelSize: Theme.statusSize
        font.weight: Font.DemiBold
        Accessible.ignored: true
    }
}
