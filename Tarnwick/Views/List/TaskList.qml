pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tarnwick

/// All rows, the newest state of each, driven by pointer and keyboard.
ListView {
    id: list

    /// The row that the keyboard is at.
    readonly property TaskRow currentRow: currentItem as TaskRow

    signal compareRequested(string taskId)
    signal restoreRequested(string taskId)
    signal revealRequested(string taskId)
    signal deleteRequested(string taskId)

    function openMenu(row: TaskRow, position: point) {
        menu.row = row;
        menu.popup(row, position);
    }
    function moveTo(index: int) {
        currentIndex = Math.max(0, Math.min(count - 1, index));
        positionViewAtIndex(currentIndex, ListView.Contain);
    }

    leftMargin: Theme.edge
    rightMargin: Theme.edge
    bottomMargin: Theme.edge
    spacing: Theme.rowSpacing
    cacheBuffer: 4 * Theme.rowHeight
    reuseItems: true
    clip: true
    activeFocusOnTab: true
    keyNavigationEnabled: false
    boundsBehavior: Flickable.StopAtBounds
    highlightFollowsCurrentItem: false
    pixelAligned: true
    currentIndex: -1
    onActiveFocusChanged: if (activeFocus && currentIndex < 0 && count > 0) currentIndex = 0

    delegate: TaskRow {
        id: row
        width: ListView.view.width - 2 * Theme.edge
        current: list.activeFocus && ListView.isCurrentItem
        ListView.onPooled: pooled = true
        ListView.onReused: pooled = false
        onPressed: {
            list.forceActiveFocus(Qt.MouseFocusReason);
            list.currentIndex = index;
        }
        onCompareRequested: list.compareRequested(taskId)
        onRestoreRequested: list.restoreRequested(taskId)
        onRevealRequested: list.revealRequested(taskId)
        onDeleteRequested: list.deleteRequested(taskId)
        onMenuRequested: position => list.openMenu(row, position)
    }

    remove: Transition {
        enabled: Theme.animated
        NumberAnimation {
            property: "opacity"
            to: 0
            duration: Theme.shortTime
            easing.type: Easing.OutCubic
        }
    }
    displaced: Transition {
        enabled: Theme.animated
        SpringAnimation {
            property: "y"
            spring: Theme.deleteSpring
            damping: Theme.deleteDamping
            epsilon: 0.25
        }
    }

    RowMenu {
        id: menu
        objectName: "rowMenu"
    }
    T.ScrollBar.vertical: ThinScrollBar {}

    Keys.onUpPressed: moveTo(currentIndex - 1)
    Keys.onDownPressed: moveTo(currentIndex + 1)
    Keys.onSpacePressed: if (currentRow?.canCompare) compareRequested(currentRow.taskId)
    Keys.onReturnPressed: if (currentRow?.canCompare) compareRequested(currentRow.taskId)
    Keys.onDeletePressed: if (currentRow?.canDelete) deleteRequested(currentRow.taskId)
    Keys.onMenuPressed: if (currentRow) openMenu(currentRow, Qt.point(currentRow.width / 2, currentRow.height / 2))
    Keys.onPressed: event => {
        const page = Math.max(1, Math.floor(height / (Theme.rowHeight + spacing)) - 1);
        const steps = new Map([[Qt.Key_Home, -count], [Qt.Key_End, count], [Qt.Key_PageUp, -page],
                               [Qt.Key_PageDown, page]]);
        if (steps.has(event.key)) {
            moveTo(currentIndex + steps.get(event.key));
            event.accepted = true;
        } else if (event.key === Qt.Key_F10 && (event.modifiers & Qt.ShiftModifier) && currentRow) {
            openMenu(currentRow, Qt.point(currentRow.width / 2, currentRow.height / 2));
            event.accepted = true;
        }
    }
    Accessible.role: Accessible.List
    Accessible.name: "图片列表"
}
