import QtQuick

/// A text that is never markup, even when it looks like it: it may be or contain the name of a file.
Text {
    textFormat: Text.PlainText
}
