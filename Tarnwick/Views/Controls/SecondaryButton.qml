import QtQuick
import Tarnwick

PrimaryButton {
    fill: Theme.button
    hoverFill: Theme.hover
    pressedFill: Theme.pressed
    textColor: Theme.text
}
