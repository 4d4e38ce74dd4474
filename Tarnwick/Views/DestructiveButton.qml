import QtQuick

PrimaryButton {
    fill: Theme.destructive
    hoverFill: Theme.destructiveHover
    pressedFill: Theme.destructivePressed
    textColor: Theme.destructiveText
}
