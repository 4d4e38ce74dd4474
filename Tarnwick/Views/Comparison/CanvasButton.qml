import QtQuick
import Tarnwick

/// An icon button on the comparison's tool bar.
IconButton {
    size: 32
    fill: "transparent"
    hoverFill: Theme.canvasHover
    pressedFill: Theme.canvasPressed
    iconColor: Theme.canvasText
    refusedColor: Theme.canvasLine
}
