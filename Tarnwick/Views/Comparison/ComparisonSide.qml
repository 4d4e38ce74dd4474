import QtQuick
import Tarnwick

/// One of the two pictures, as far as the divider lets it be seen.
TiledPicture {
    required property rect place

    pictureRect: Qt.rect(place.x - x, place.y, place.width, place.height)
    clip: true
    Accessible.ignored: true
}
