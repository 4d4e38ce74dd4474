import QtQuick
import Tarnwick

/// Shown while files are dragged over the window.
Rectangle {
    color: Theme.veil
    radius: Theme.targetRadius
    border.width: 2
    border.color: Theme.progress
    Accessible.role: Accessible.StaticText
    Accessible.name: "松开以导入图片"
}
