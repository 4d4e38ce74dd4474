import QtQuick
import Tarnwick

/// A line icon from Icons/, in one colour.
Image {
    id: icon

    required property string name
    property color color: Theme.text
    property int size: 18

    width: size
    height: size
    sourceSize.width: size
    sourceSize.height: size
    source: "image://icon/" + name + "/" + String(color).slice(1)
    Accessible.ignored: true
}
