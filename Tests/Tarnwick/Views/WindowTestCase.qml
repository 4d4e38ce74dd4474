import QtQuick
import QtTest
import Tarnwick
import TarnwickTests

/// Gives each test a world and a window in it.
TestCase {
    id: test

    property World world
    property Main window
    property TaskList list

    when: windowShown

    Component {
        id: worlds
        World {}
    }
    Component {
        id: windows
        Main {}
    }

    function init() {
        world = worlds.createObject(null);
        window = windows.createObject(null, world.windowProperties);
        list = findChild(window, "list");
        verify(waitForRendering(window.contentItem));
    }
    function cleanup() {
        window.destroy();
        tryVerify(() => window === null);
        world.destroy();
        tryVerify(() => world === null);
    }
    /// Drops new pictures of these names and waits until they are compressed.
    function compress(names) {
        const files = names.map(name => world.picture(name));
        world.drop(window, files);
        tryCompare(window.model, "isCompressing", false, 20000);
        compare(list.count, names.length);
        return files;
    }
    function row(index) {
        tryVerify(() => list.itemAtIndex(index) !== null);
        return list.itemAtIndex(index);
    }
    function child(name, parent = window) {
        const item = findChild(parent, name);
        verify(item !== null, name);
        return item;
    }
    /// Clicks an item once it is visible and laid out.
    function click(item) {
        tryCompare(item, "visible", true);
        for (let each = item; each; each = each.parent)
            tryVerify(() => !isPolishScheduled(each));
        mouseClick(item);
    }
}
