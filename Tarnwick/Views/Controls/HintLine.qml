import QtQuick
import Tarnwick

PlainText {
    horizontalAlignment: Text.AlignHCenter
    color: Theme.secondText
    font.pixelSize: Theme.nameSize
    wrapMode: Text.Wrap
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
