import QtQuick
import Tarnwick

/// A file's thumbnail, or a placeholder while there is none.
Item {
    property alias url: thumbnail.url

    implicitWidth: Theme.thumbnail
    implicitHeight: Theme.thumbnail

    Rectangle {
        anchors.fill: parent
        radius: Theme.thumbnailRadius
        color: Theme.button
        visible: !thumbnail.filled

        Icon {
            anchors.centerIn: parent
            name: "picture"
            size: 22
            color: Theme.disabledIcon
        }
    }
    Thumbnail {
        id: thumbnail
        objectName: "thumbnail"
        anchors.fill: parent
        store: ThumbnailStore
        radius: Theme.thumbnailRadius
        opacity: filled ? 1 : 0

        Behavior on opacity {
            NumberAnimation {
                duration: Theme.shortTime
                easing.type: Easing.OutCubic
            }
        }
    }
    Accessible.ignored: true
}
