import QtQuick
import Tarnwick

/// A question with two answers; the first is what the program proposes.
Sheet {
    id: sheet

    required property QuickAlertPresenter presenter

    title: presenter.message
    message: presenter.informativeText
    visible: presenter.isOpen
    // Not the button that was pressed the last time.
    onAboutToShow: first.focus = true
    onClosed: presenter.finish(false)

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
