import QtQuick

PrimaryButton {
    fill: Theme.badge
    hoverFill: Qt.tint(Theme.badge, Qt.alpha(Theme.progress, 0.12))
    pressedFill: Qt.tint(Theme.badge, Qt.alpha(Theme.progress, 0.24))
    textColor: Theme.badgeText
}
