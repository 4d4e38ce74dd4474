import QtQuick
import QtQuick.Controls.Basic
import Tarnwick

Menu {
    id: menu

    property string label
    readonly property real widestEntry: {
        let widest = 0;
        for (let i = 0; i < count; ++i)
            widest = Math.max(widest, itemAt(i).implicitWidth);
        return widest;
    }

    padding: 6
    margins: 8
    width: Math.max(widestEntry + leftPadding + rightPadding, 208)
    delegate: PlainMenuItem {}
    background: Rectangle {
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
