import QtQuick
import Tarnwick

/// The part of one picture on its side of the divider.
TiledPicture {
    required property rect place

    pictureRect: Qt.rect(place.x - x, place.y, place.width, place.height)
    clip: true
    Accessible.ignored: true
}
