import QtQuick
import QtQuick.Templates as T
import Tarnwick

T.ScrollBar {
    id: bar

    implicitWidth: 10
    padding: 2
    minimumSize: 0.06
    visible: size < 1

    contentItem: Rectangle {
        implicitWidth: 6
        radius: 3
        color: Theme.scrollBar
        opacity: bar.pressed ? 1 : bar.active ? 0.85 : 0.45
        Behavior on opacity {
            NumberAnimation {
                duration: Theme.shortTime
            }
        }
    }
    Accessible.role: Accessible.ScrollBar
    Accessible.name: "滚动条"
}
