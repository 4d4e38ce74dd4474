import QtQuick
import Tarnwick

/// A question with two answers. The first is the default.
Sheet {
    id: sheet
    objectName: "questionSheet"

    required property QuickAlertPresenter presenter

    title: presenter.message
    message: presenter.informativeText
    visible: presenter.isOpen
    // Otherwise the button pressed last time would have the focus.
    onAboutToShow: first.focus = true
    onClosed: presenter.dialogClosed()

    SecondaryButton {
        objectName: "secondAnswer"
        text: sheet.presenter.secondButton
        onClicked: sheet.presenter.finish(false)
    }
    PrimaryButton {
        id: first
        objectName: "firstAnswer"
        text: sheet.presenter.firstButton
        onClicked: sheet.presenter.finish(true)
    }
}
