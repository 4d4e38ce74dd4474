import QtQuick
import QtQuick.Templates as T
import Tarnwick

T.MenuSeparator {
    implicitWidth: 200
    implicitHeight: 9
    contentItem: Item {
        Rectangle {
            width: parent.width - 20
            height: 1
            anchors.centerIn: parent
            color: Theme.line
        }
    }
    Accessible.ignored: true
}
