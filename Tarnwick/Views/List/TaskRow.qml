import QtQuick
import QtQuick.Templates as T
import Tarnwick

/// One picture of the list.
Item {
    id: row

    required property int index
    required property string taskId
    required property url thumbnailUrl
    required property string fileName
    required property string statusText
    required property string badgeText
    required property int status
    required property bool isActive
    required property bool isFailed
    required property bool canCompare
    required property bool canRestore
    required property bool canDelete
    required property string compareRefusal
    required property string restoreRefusal
    required property string deleteRefusal

    /// Whether the row has the keyboard focus.
    property bool current
    /// Whether the item is kept for another row, invisible.
    property bool pooled
    readonly property bool pointed: hover.hovered
    readonly property bool actionsShown: pointed || current
    readonly property bool narrow: width < 440

    /// One of RowActions' actions.
    signal actionRequested(int action)
    signal menuRequested(point position)
    signal pressed

    implicitHeight: Theme.rowHeight

    SwipeToDeleteRow {
        anchors.fill: parent
        allowed: row.canDelete
        enabled: !row.pooled
        onTriggered: row.actionRequested(RowActions.Delete)

        Rectangle {
            anchors.fill: parent
            radius: Theme.rowRadius
            color: row.actionsShown ? Theme.hover : Theme.row
            border.color: row.current ? Theme.focusRing : Theme.line
            border.width: row.current ? 2 : 1

            Behavior on color {
                enabled: !row.pooled
                ColorAnimation {
                    duration: Theme.shortTime
                }
            }
            FileThumbnail {
                id: thumbnail
                x: 12
                anchors.verticalCenter: parent.verticalCenter
                url: row.pooled ? "" : row.thumbnailUrl
            }
            Column {
                anchors.left: thumbnail.right
                anchors.leftMargin: 12
                anchors.right: side.left
                anchors.rightMargin: 12
                anchors.verticalCenter: parent.verticalCenter
                spacing: 4

                PlainText {
                    objectName: "rowName"
                    width: parent.width
                    text: row.fileName
                    color: Theme.text
                    font.pixelSize: Theme.nameSize
                    font.weight: Font.Medium
                    elide: Text.ElideMiddle
                    Accessible.ignored: true
                }
                PlainText {
                    id: status
                    objectName: "rowStatus"
                    width: parent.width
                    text: row.statusText
                    color: row.isFailed ? Theme.failure : Theme.secondText
                    font.pixelSize: Theme.statusSize
                    elide: Text.ElideRight
                    Accessible.ignored: true

                    // A tool tip appears above its item. This one is to cover the status line, not the row above.
                    Item {
                        y: parent.height + 10
                        width: parent.width
                        T.ToolTip.text: status.text
                        T.ToolTip.visible: status.truncated && row.pointed
                        T.ToolTip.delay: Theme.tipDelay
                        T.ToolTip.timeout: Theme.tipTime
                    }
                }
            }
            Row {
                id: side

                anchors.right: parent.right
                anchors.rightMargin: 12
                anchors.verticalCenter: parent.verticalCenter
                spacing: 6

                RowActions {
                    anchors.verticalCenter: parent.verticalCenter
                    visible: row.actionsShown
                    canCompare: row.canCompare
                    canRestore: row.canRestore
                    canDelete: row.canDelete
                    compareRefusal: row.compareRefusal
                    restoreRefusal: row.restoreRefusal
                    deleteRefusal: row.deleteRefusal
                    onActionRequested: action => row.actionRequested(action)
                }
                Badge {
                    anchors.verticalCenter: parent.verticalCenter
                    text: row.badgeText
                    visible: text !== "" && !(row.narrow && row.actionsShown)
                }
                BusyMark {
                    objectName: "busy"
                    anchors.verticalCenter: parent.verticalCenter
                    // The linter of Qt 6.4 does not know the enumerators of a value type.
                    visible: row.isActive && row.status !== TaskStatus.Waiting && !row.pooled // qmllint disable unqualified
                    label: row.statusText
                }
            }
        }
    }
    HoverHandler {
        id: hover
        enabled: !row.pooled
    }
    TapHandler {
        property string pressedTask

        acceptedButtons: Qt.LeftButton
        onPressedChanged: if (pressed) pressedTask = row.taskId
        onTapped: row.pressed()
        onDoubleTapped: if (row.canCompare) row.actionRequested(RowActions.Compare)
        // The list may use this item for another task while it is pressed.
        onLongPressed: if (row.taskId === pressedTask) row.menuRequested(point.position)
    }
    TapHandler {
        acceptedButtons: Qt.RightButton
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad | PointerDevice.Stylus
        onTapped: eventPoint => {
            row.pressed();
            row.menuRequested(eventPoint.position);
        }
    }
    Accessible.role: Accessible.ListItem
    Accessible.name: fileName
    Accessible.description: statusText + (badgeText === "" ? "" : "，" + badgeText)
    Accessible.focusable: true
    Accessible.focused: current
    Accessible.onPressAction: if (canCompare) actionRequested(RowActions.Compare)
}
