pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Tarnwick

ApplicationWindow {
    id: window

    required property AppModel model
    required property QuickFileChooser chooser
    required property QuickAlertPresenter alerts
    required property ExtensionSettings extensionSettings
    required property MainWindowViewState viewState
    readonly property bool empty: model.tasks.count === 0
    readonly property bool clearAllowed: !model.isCompressing && !model.hasModalPresentation

    function perform(action: int, taskId: string) {
        switch (action) {
        case RowActions.Compare:
            viewState.comparedTask = taskId;
            break;
        case RowActions.Restore:
            model.restore(taskId);
            break;
        case RowActions.Reveal:
            model.reveal(taskId);
            break;
        case RowActions.Delete:
            model.deleteTask(taskId);
            break;
        }
    }

    title: "Tarnwick"
    width: 560
    height: 640
    minimumWidth: 420
    minimumHeight: 480
    color: Theme.window
    visible: true
    // The tool tips, which all windows share, take their colours from here.
    palette.toolTipBase: Theme.tip
    palette.toolTipText: Theme.tipText
    palette.dark: Theme.tip

    onClosing: close => {
        close.accepted = false;
        viewState.closeRequested();
    }

    header: TopBar {
        id: topBar
        choosing: window.model.isChoosingFiles
        clearShown: !window.empty
        clearAllowed: window.clearAllowed
        menuOpen: appMenu.opened
        onChooserRequested: window.model.chooseFiles()
        onClearRequested: window.model.requestClearAllRecords()
        onMenuRequested: anchor => appMenu.popup(anchor, 0, anchor.height + 4)
    }
    footer: Footer {
        visible: !window.empty
        doneCount: window.model.doneCount
        totalCount: window.model.totalCount
        savedText: window.model.doneCount > 0 ? window.model.savedText : ""
        rowCount: window.model.tasks.count
    }

    TaskList {
        id: list
        objectName: "list"
        anchors.fill: parent
        visible: !window.empty
        enabled: visible
        model: window.model.tasks
        viewState: window.viewState
        onActionRequested: (action, taskId) => window.perform(action, taskId)
    }
    FirstView {
        anchors.fill: parent
        visible: window.empty
        targeted: window.model.isTargeted
    }
    ImportPimAnimation {
        objectName: "splash"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        importId: window.model.importAnimationID
    }
    ImportTarget {
        parent: window.contentItem.parent
        anchors.fill: parent
        model: window.model
    }
    ComparisonLayer {
        objectName: "comparison"
        parent: window.contentItem.parent
        anchors.fill: parent
        model: window.model
        taskId: window.viewState.comparedTask
        onCloseRequested: {
            window.viewState.comparedTask = "";
            list.forceActiveFocus(Qt.OtherFocusReason);
        }
    }

    AppMenu {
        id: appMenu
        objectName: "appMenu"
        clearAllowed: window.clearAllowed && !window.empty
        choosing: window.model.isChoosingFiles
        onChooserRequested: window.model.chooseFiles()
        onClearRequested: window.model.requestClearAllRecords()
        onFinderEnableRequested: window.viewState.finderEnableRequested()
        onFinderSettingsRequested: window.extensionSettings.showExtensionManagementInterface()
        onAboutRequested: window.viewState.showsAbout = true
        onQuitRequested: window.viewState.closeRequested()
    }
    // Only one of these is on screen at a time. The user cannot open one while another is open, and those that open
    // without the user wait.
    AlertSheet {
        id: alertSheet
        text: window.model.alertMessage
        held: questionSheet.visible || clearSheet.visible || aboutSheet.visible
        onDismissed: window.model.alertMessage = ""
    }
    ClearSheet {
        id: clearSheet
        visible: window.model.showClearConfirmation
        onConfirmed: window.model.clearAllRecords()
        onClosed: window.model.showClearConfirmation = false
    }
    QuestionSheet {
        id: questionSheet
        presenter: window.alerts
    }
    Binding {
        target: window.alerts
        property: "isHeld"
        value: alertSheet.visible || clearSheet.visible || aboutSheet.visible
    }
    // A tool tip may contain the name of a file.
    Binding {
        target: list.ToolTip.toolTip.contentItem
        property: "textFormat"
        value: Text.PlainText
    }
    ExtensionSettingsWindow {
        objectName: "extensionSettings"
        settings: window.extensionSettings
    }
    AboutSheet {
        id: aboutSheet
        visible: window.viewState.showsAbout
        onClosed: window.viewState.showsAbout = false
    }
    ChooserDialog {
        chooser: window.chooser
    }

    Shortcut {
        sequence: "Ctrl+O"
        onActivated: window.model.chooseFiles()
    }
    Shortcut {
        sequence: "Ctrl+Shift+Delete"
        enabled: !window.empty
        onActivated: window.model.requestClearAllRecords()
    }
    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: window.viewState.closeRequested()
    }
}
