pragma Singleton

import QtQuick
import Tarnwick

/// All colours, sizes and durations of the window.
QtObject {
    readonly property bool dark: Appearance.dark

    readonly property color window: dark ? "#16191D" : "#F6F8F9"
    readonly property color row: dark ? "#1E2227" : "#FFFFFF"
    readonly property color hover: dark ? "#262B31" : "#F1F4F6"
    readonly property color pressed: dark ? "#30363D" : "#E4E9ED"
    readonly property color line: dark ? "#2B3138" : "#E6E9ED"
    readonly property color outline: dark ? "#3A424B" : "#D3D9DF"
    readonly property color text: dark ? "#E8EAED" : "#1B1F24"
    readonly property color secondText: dark ? "#9AA3AD" : "#626B77"
    readonly property color disabledIcon: dark ? "#5B646E" : "#A8B0B9"
    readonly property color button: dark ? "#2A3037" : "#EBEEF1"
    readonly property color switchOff: dark ? "#5B646E" : "#8A939D"
    readonly property color accent: "#0E8574"
    readonly property color accentHover: "#0B7465"
    readonly property color accentPressed: "#096255"
    readonly property color accentText: "#FFFFFF"
    readonly property color progress: "#14A08B"
    readonly property color focusRing: dark ? "#2CC4AC" : "#0E8574"
    readonly property color badge: dark ? "#123D36" : "#DDF5EF"
    readonly property color badgeText: dark ? "#6FE0CB" : "#0B6E5F"
    readonly property color failure: dark ? "#FF8A7A" : "#B3261E"
    readonly property color destructive: "#C0342B"
    readonly property color destructiveHover: "#A92B23"
    readonly property color destructivePressed: "#92231C"
    readonly property color destructiveText: "#FFFFFF"
    readonly property color tip: dark ? "#383F47" : "#2A3037"
    readonly property color tipText: dark ? "#E8EAED" : "#FFFFFF"
    readonly property color veil: Qt.alpha(progress, 0.08)
    readonly property color dimming: Qt.rgba(0, 0, 0, dark ? 0.55 : 0.32)
    readonly property color scrollBar: dark ? "#4A525B" : "#C3CAD1"

    // The comparison is dark in both themes: a bright surround would change how the pictures look.
    readonly property color canvas: "#14171B"
    readonly property color canvasPanel: Qt.rgba(0.035, 0.04, 0.05, 0.82)
    readonly property color canvasHover: "#2B3036"
    readonly property color canvasPressed: "#3A4047"
    readonly property color canvasText: "#F2F4F6"
    readonly property color canvasSecondText: "#A9B1BA"
    readonly property color canvasLine: "#3C434B"
    readonly property color canvasFailure: "#FF8A7A"
    readonly property color divider: "#FFFFFF"
    readonly property color dividerIcon: "#1B1F24"

    readonly property int topBarHeight: 52
    readonly property int footerHeight: 44
    readonly property int rowHeight: 72
    readonly property int rowSpacing: 8
    readonly property int rowRadius: 12
    readonly property int edge: 16
    readonly property int thumbnail: 48
    readonly property int thumbnailRadius: 8
    readonly property int actionButton: 30
    readonly property int controlHeight: 32
    readonly property int controlRadius: 8
    readonly property int targetRadius: 16

    readonly property int nameSize: 14
    readonly property int statusSize: 12
    readonly property int controlSize: 13
    readonly property int titleSize: 17
    readonly property int headingSize: 21

    readonly property int tipDelay: 600
    readonly property int tipTime: 8000

    readonly property bool animated: !Appearance.reducedMotion
    readonly property int shortTime: animated ? 150 : 0
    readonly property int longTime: animated ? 200 : 0

    // A spring with a response of 0.38 s and a damping fraction of 0.82 has, at mass 1, the stiffness
    // k = (2π ∕ 0.38)² = 273.4 and the damping c = 4π · 0.82 ∕ 0.38 = 27.12 per second. SpringAnimation moves in steps
    // of 0.016 s and wants both per step: spring = 0.016 · k, damping = 0.016 · c.
    readonly property real deleteSpring: 4.374
    readonly property real deleteDamping: 0.434
}
