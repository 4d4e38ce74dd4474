import QtQuick
import Tarnwick

Text {
    horizontalAlignment: Text.AlignHCenter
    color: Theme.secondText
    font.pixelSize: Theme.nameSize
    wrapMode: Text.Wrap
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
