import QtQuick
import QtQuick.Controls.Basic

Menu {
    id: menu

    property string label

    padding: 6
    margins: 8
    width: Math.max(implicitWidth, 208)
    delegate: PlainMenuItem {}
    background: Rectangle {
        implicitWidth: 208
        radius: 10
        color: Theme.row
        border.color: Theme.outline
    }
    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: Theme.shortTime
        }
    }
    exit: Transition {
        NumberAnimation {
            property: "opacity"
            to: 0
            duration: Theme.shortTime
        }
    }
}
