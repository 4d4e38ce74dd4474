import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Templates as T
import Tarnwick

/// A modal dialog in the window, with a title, a text and buttons.
Dialog {
    id: sheet

    property string message
    default property alias buttons: row.data
    property alias artwork: artworkHolder.data

    anchors.centerIn: T.Overlay.overlay
    width: Math.min(360, (sheet.parent?.width ?? 360) - 2 * Theme.edge)
    padding: 20
    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape
    header: null
    footer: null

    Column {
        width: sheet.availableWidth
        spacing: 8
        Accessible.role: Accessible.Dialog
        Accessible.name: sheet.title
        Accessible.description: sheet.message

        Item {
            id: artworkHolder
            width: parent.width
            height: childrenRect.height
            visible: children.length > 0
        }
        PlainText {
            width: parent.width
            text: sheet.title
            visible: text !== ""
            color: Theme.text
            font.pixelSize: 16
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
            Accessible.ignored: true
        }
        PlainText {
            width: parent.width
            text: sheet.message
            color: sheet.title === "" ? Theme.text : Theme.secondText
            font.pixelSize: Theme.controlSize
            lineHeight: 1.25
            wrapMode: Text.Wrap
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Item {
            width: 1
            height: 4
        }
        Row {
            id: row
            anchors.right: parent.right
            spacing: 8
        }
    }
    background: Rectangle {
        radius: 14
        color: Theme.row
        border.color: Theme.line
    }
    T.Overlay.modal: Rectangle {
        color: Theme.dimming
        Behavior on opacity {
            NumberAnimation {
                duration: Theme.shortTime
            }
        }
    }
    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: Theme.shortTime
            easing.type: Easing.OutCubic
        }
    }
    exit: Transition {
        NumberAnimation {
            property: "opacity"
            to: 0
            duration: Theme.shortTime
            easing.type: Easing.OutCubic
        }
    }
}
