import QtQuick
import QtTest
import Tarnwick
import TarnwickTests

TestCase {
    id: test

    property World world
    property Main window
    property TaskList list

    name: "List"
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
        wait(0);
        world.destroy();
        wait(0);
    }
    /// Drops pictures of these names, and waits until they are done.
    function compress(names) {
        const files = names.map(name => world.picture(name));
        world.drop(window, files);
        tryCompare(world.model, "isCompressing", false, 20000);
        compare(list.count, names.length);
        waitForRendering(window.contentItem);
        return files;
    }
    function row(index) {
        tryVerify(() => list.itemAtIndex(index) !== null);
        return list.itemAtIndex(index);
    }
    function status(index) {
        return row(index).statusText;
    }
    function point(index) {
        mouseMove(row(index), 60, 30);
        tryCompare(row(index), "actionsShown", true);
    }
    function press(name, parent = window) {
        const button = findChild(parent, name);
        verify(button !== null, name);
        // What has just been shown has yet to be laid out.
        wait(50);
        mouseClick(button);
    }

    function test_takesDroppedFilesThroughTheirStates() {
        world.hold();
        const files = [world.picture("a.png"), world.picture("b.png"), world.picture("c.png")];
        world.dragOver(window, files);
        verify(world.model.isTargeted);
        world.dragAway(window);
        verify(!world.model.isTargeted);
        world.drop(window, files);
        verify(!world.model.isTargeted);
        compare(list.count, 3);
        // Two work at a time.
        tryVerify(() => status(0) === "正在压缩…" && status(1) === "正在压缩…", 20000);
        compare(status(2), "等待压缩");
        const clear = findChild(window, "clearButton");
        verify(!clear.allowed);
        compare(clear.helpText, "压缩完成后可清除记录");
        mouseClick(clear);
        verify(!world.model.showClearConfirmation);
        world.release();
        tryVerify(() => /^\d.* → .* · /.test(status(2)), 20000);
        verify(/^↓ \d+%$/.test(row(2).badgeText), row(2).badgeText);
        verify(/^已完成 3 \/ 3 · 已节省 /.test(findChild(window, "footerText").text));
        tryVerify(() => findChild(row(0), "thumbnail").filled);
    }

    function test_tellsOfWhatItCannotTake() {
        world.drop(window, [world.text("note.txt")]);
        compare(list.count, 0);
        const button = findChild(window, "alertButton");
        tryVerify(() => button.visible);
        keyClick(Qt.Key_Return);
        tryCompare(world.model, "alertMessage", "");
    }

    function test_restoresRevealsAndDeletesWithTheButtons() {
        const files = compress(["a.png", "b.png"]);
        verify(!world.isOriginal(files[0]));
        point(0);
        press("revealAction", row(0));
        compare(world.revealed, files[0].toString().replace("file://", ""));
        press("restoreAction", row(0));
        tryVerify(() => status(0) === "已恢复原图", 10000);
        verify(world.isOriginal(files[0]));
        point(0);
        const restore = findChild(row(0), "restoreAction");
        verify(!restore.allowed);
        verify(restore.helpText !== restore.label, "says why");
        mouseMove(restore, 15, 15);
        tryCompare(restore, "hovered", true);
        press("deleteAction", row(0));
        tryCompare(list, "count", 1);
        tryVerify(() => row(0).fileName === "b.png");
    }

    function test_deletesWithASwipe() {
        compress(["a.png", "b.png"]);
        const first = row(0);
        mouseDrag(first, first.width - 40, 20, -60, 0, Qt.LeftButton, Qt.NoModifier, 20);
        wait(700);
        compare(list.count, 2, "too short a way");
        mouseDrag(first, first.width - 40, 20, -250, 0, Qt.LeftButton, Qt.NoModifier, 20);
        tryCompare(list, "count", 1);
        tryVerify(() => row(0).fileName === "b.png" && row(0).y === 0 && row(0).opacity === 1);
    }

    function test_isDrivenByTheKeyboard() {
        compress(["a.png", "b.png", "c.png"]);
        list.forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Down);
        compare(list.currentIndex, 1);
        verify(row(1).actionsShown);
        keyClick(Qt.Key_Tab);
        verify(findChild(row(1), "compareAction").activeFocus, "the actions come next");
        list.forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_End);
        compare(list.currentIndex, 2);
        keyClick(Qt.Key_Delete);
        tryCompare(list, "count", 2);
        tryVerify(() => list.currentRow !== null && list.currentRow.fileName === "b.png" && list.activeFocus);
        keyClick(Qt.Key_Space);
        tryVerify(() => findChild(window, "comparison").open);
        keyClick(Qt.Key_Escape);
        verify(!findChild(window, "comparison").open);
        verify(list.activeFocus, "and the list has the keyboard again");
    }

    function test_clearsAfterAsking() {
        compress(["a.png", "b.png"]);
        press("clearButton");
        const cancel = findChild(window, "cancelClearButton");
        tryVerify(() => cancel.visible && cancel.activeFocus);
        keyClick(Qt.Key_Escape);
        tryCompare(world.model, "showClearConfirmation", false);
        compare(list.count, 2);
        press("clearButton");
        tryVerify(() => findChild(window, "confirmClearButton").visible);
        wait(200);
        press("confirmClearButton");
        tryCompare(list, "count", 0);
        tryCompare(world.model, "showClearConfirmation", false);
    }

    function test_opensTheMenuOfARow() {
        compress(["a.png"]);
        mouseClick(row(0), 50, 30, Qt.RightButton);
        const menu = findChild(list, "rowMenu");
        tryCompare(menu, "opened", true);
        keyClick(Qt.Key_Down);
        keyClick(Qt.Key_Down);
        keyClick(Qt.Key_Return);
        tryVerify(() => status(0) === "已恢复原图", 10000);
    }

    function test_playsTheAnimationForEveryImport() {
        const splash = findChild(window, "splash");
        for (const name of ["a.png", "b.png"]) {
            world.drop(window, [world.picture(name)]);
            verify(splash.playing);
            tryCompare(splash, "playing", false, 5000);
        }
        tryCompare(world.model, "isCompressing", false, 20000);
    }
}
