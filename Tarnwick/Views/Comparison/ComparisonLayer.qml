import QtQuick
import Tarnwick

/// Holds the comparison while one is open.
FocusScope {
    id: layer

    required property AppModel model
    readonly property bool open: loader.status !== Loader.Null

    signal closed

    function show(taskId: string) {
        loader.setSource("ComparisonView.qml", {appModel: model, taskId: taskId});
        forceActiveFocus(Qt.OtherFocusReason);
    }
    function close() {
        loader.source = "";
        closed();
    }

    visible: open

    Loader {
        id: loader
        anchors.fill: parent
        focus: true
        onLoaded: (item as ComparisonView).closeRequested.connect(layer.close)
    }
}
