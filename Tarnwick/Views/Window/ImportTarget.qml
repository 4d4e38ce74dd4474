import QtQuick
import Tarnwick

/// Imports files that are dropped anywhere on the window.
DropArea {
    id: target

    required property AppModel model

    keys: ["text/uri-list"]
    onEntered: drag => {
        drag.accepted = drag.hasUrls;
        model.isTargeted = drag.hasUrls;
    }
    onExited: model.isTargeted = false
    onDropped: drop => {
        model.isTargeted = false;
        drop.accept(Qt.CopyAction);
        model.add(drop.urls);
    }

    DropVeil {
        anchors.fill: parent
        anchors.margins: 8
        visible: target.model.isTargeted
    }
}
