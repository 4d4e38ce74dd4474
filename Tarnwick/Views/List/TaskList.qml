pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Tarnwick

/// The rows, operated with the pointer and with the keyboard.
ListView {
    id: list

    required property MainWindowViewState viewState
    readonly property TaskRow currentRow: currentItem as TaskRow

    /// One of RowActions' actions.
    signal actionRequested(int action, string taskId)

    function moveTo(index: int) {
        viewState.currentRow = Math.max(0, Math.min(count - 1, index));
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
    currentIndex: viewState.currentRow
    // The list itself changes it when rows are inserted and removed.
    onCurrentIndexChanged: viewState.currentRow = currentIndex
    onActiveFocusChanged: if (activeFocus && currentIndex < 0 && count > 0) viewState.currentRow = 0

    delegate: TaskRow {
        id: row
        width: ListView.view.width - 2 * Theme.edge
        current: list.activeFocus && ListView.isCurrentItem
        ListView.onPooled: pooled = true
        ListView.onReused: pooled = false
        onPressed: {
            list.forceActiveFocus(Qt.MouseFocusReason);
            list.viewState.currentRow = index;
        }
        onActionRequested: action => list.actionRequested(action, taskId)
        onMenuRequested: position => menu.openFor(row, position)
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
        onActionRequested: (action, taskId) => list.actionRequested(action, taskId)
    }
    T.ScrollBar.vertical: ThinScrollBar {}

    Keys.onUpPressed: moveTo(currentIndex - 1)
    Keys.onDownPressed: moveTo(currentIndex + 1)
    Keys.onSpacePressed: if (currentRow?.canCompare) actionRequested(RowActions.Compare, currentRow.taskId)
    Keys.onReturnPressed: if (currentRow?.canCompare) actionRequested(RowActions.Compare, currentRow.taskId)
    Keys.onDeletePressed: if (currentRow?.canDelete) actionRequested(RowActions.Delete, currentRow.taskId)
    Keys.onMenuPressed: if (currentRow) menu.openFor(currentRow, Qt.point(currentRow.width / 2, currentRow.height / 2))
    Keys.onPressed: event => {
        const page = Math.max(1, Math.floor(height / (Theme.rowHeight + spacing)) - 1);
        const steps = new Map([[Qt.Key_Home, -count], [Qt.Key_End, count], [Qt.Key_PageUp, -page],
                               [Qt.Key_PageDown, page]]);
        if (steps.has(event.key)) {
            moveTo(currentIndex + steps.get(event.key));
            event.accepted = true;
        } else if (event.key === Qt.Key_F10 && (event.modifiers & Qt.ShiftModifier) && currentRow) {
            menu.openFor(currentRow, Qt.point(currentRow.width / 2, currentRow.height / 2));
            event.accepted = true;
        }
    }
    Accessible.role: Accessible.List
    Accessible.name: "图片列表"
}
