import QtQuick
import Tarnwick

/// Shows the comparison of a row over the window.
FocusScope {
    id: layer

    required property AppModel model
    /// Empty while no comparison is open.
    required property string taskId
    readonly property bool open: taskId !== ""

    signal closeRequested

    visible: open
    onVisibleChanged: if (visible) forceActiveFocus(Qt.OtherFocusReason)
    onTaskIdChanged: {
        if (taskId !== "")
            loader.setSource("ComparisonView.qml", {appModel: model, taskId: taskId});
        else
            loader.source = "";
    }

    Loader {
        id: loader
        anchors.fill: parent
        focus: true
        onLoaded: (item as ComparisonView).closeRequested.connect(layer.closeRequested)
    }
}
