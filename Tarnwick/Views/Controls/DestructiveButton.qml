import QtQuick
import Tarnwick

PrimaryButton {
    fill: Theme.destructive
    hoverFill: Theme.destructiveHover
    pressedFill: Theme.destructivePressed
    textColor: Theme.destructiveText
}
