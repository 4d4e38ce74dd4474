import QtQuick
import QtQuick.Controls.Basic
import QtTest
import Tarnwick

WindowTestCase {
    name: "List"

    function status(index) {
        return row(index).statusText;
    }
    /// Clicks one of a row's buttons, which are visible while the pointer is over the row.
    function press(index, name) {
        mouseMove(row(index), 60, 30);
        click(child(name, row(index)));
    }

    function test_TakesDroppedFilesThroughTheirStates() {
        world.hold();
        const files = ["a.png", "b.png", "c.png"].map(name => world.picture(name));
        world.dragOver(window, files);
        verify(window.model.isTargeted);
        world.dragAway(window);
        verify(!window.model.isTargeted);
        world.drop(window, files);
        verify(!window.model.isTargeted);
        compare(list.count, 3);
        // The queue runs two at a time.
        tryVerify(() => status(0) === "正在压缩…" && status(1) === "正在压缩…", 20000);
        compare(status(2), "等待压缩");
        compare([0, 1, 2].map(index => child("busy", row(index)).visible), [true, true, false]);
        compare(child("clearButton").helpText, "压缩完成后可清除记录");
        mouseClick(child("clearButton"));
        verify(!window.model.showClearConfirmation);
        world.release();
        tryVerify(() => /^\d.* → .* · /.test(status(2)), 20000);
        verify(/^↓ \d+%$/.test(row(2).badgeText), row(2).badgeText);
        verify(/^已完成 3 \/ 3 · 已节省 /.test(child("footerText").text));
        tryVerify(() => child("thumbnail", row(0)).filled);
    }

    function test_ReportsWhatItCannotTake() {
        world.drop(window, [world.text("note.txt")]);
        compare(list.count, 0);
        tryVerify(() => child("alertButton").visible);
        keyClick(Qt.Key_Return);
        tryCompare(window.model, "alertMessage", "");
    }

    function test_RestoresRevealsAndDeletesWithTheButtons() {
        const files = compress(["a.png", "b.png"]);
        verify(!world.isOriginal(files[0]));
        press(0, "revealAction");
        compare(world.revealed, files[0].toString().replace("file://", ""));
        press(0, "restoreAction");
        tryVerify(() => status(0) === "已恢复原图", 10000);
        verify(world.isOriginal(files[0]));
        const restore = child("restoreAction", row(0));
        verify(!restore.allowed);
        verify(restore.helpText !== restore.label, "gives the reason");
        mouseMove(restore, 15, 15);
        tryCompare(restore, "hovered", true);
        compare(restore.ToolTip.toolTip.contentItem.textFormat, Text.PlainText);
        press(0, "deleteAction");
        tryCompare(list, "count", 1);
        tryVerify(() => row(0).fileName === "b.png");
    }

    function test_DeletesWithASwipe() {
        compress(["a.png", "b.png"]);
        const first = row(0);
        mouseDrag(first, first.width - 40, 20, -60, 0, Qt.LeftButton, Qt.NoModifier, 20);
        verify(!first.isActive, "dragged too little");
        tryCompare(child("card", first), "x", 0);
        mouseDrag(first, first.width - 40, 20, -250, 0, Qt.LeftButton, Qt.NoModifier, 20);
        tryCompare(list, "count", 1);
        tryVerify(() => row(0).fileName === "b.png" && row(0).y === 0 && row(0).opacity === 1);
    }

    function test_IsOperatedWithTheKeyboard() {
        compress(["a.png", "b.png", "c.png"]);
        list.forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_Down);
        compare(list.currentIndex, 1);
        verify(row(1).actionsShown);
        keyClick(Qt.Key_Tab);
        verify(child("compareAction", row(1)).activeFocus, "the actions come next");
        list.forceActiveFocus(Qt.TabFocusReason);
        keyClick(Qt.Key_End);
        compare(list.currentIndex, 2);
        keyClick(Qt.Key_Delete);
        tryCompare(list, "count", 2);
        tryVerify(() => list.currentRow !== null && list.currentRow.fileName === "b.png" && list.activeFocus);
        compare(window.viewState.currentRow, 1);
        keyClick(Qt.Key_Space);
        tryVerify(() => child("comparison").open);
        keyClick(Qt.Key_Escape);
        verify(!child("comparison").open);
        verify(list.activeFocus, "and the list has the keyboard again");
    }

    function test_ClearsAfterAQuestion() {
        compress(["a.png", "b.png"]);
        const sheet = child("clearSheet");
        const ask = () => {
            click(child("clearButton"));
            tryCompare(sheet, "opened", true);
            verify(child("cancelClearButton").activeFocus);
        };
        ask();
        keyClick(Qt.Key_Escape);
        tryCompare(window.model, "showClearConfirmation", false);
        tryCompare(sheet, "visible", false);
        compare(list.count, 2);
        ask();
        mouseClick(child("confirmClearButton"));
        tryCompare(list, "count", 0);
        tryCompare(window.model, "showClearConfirmation", false);
    }

    function test_OpensTheMenuOfARow() {
        compress(["a.png", "b.png"]);
        const menu = findChild(list, "rowMenu");
        const open = () => {
            tryCompare(menu, "visible", false);
            mouseClick(row(0), 50, 30, Qt.RightButton);
            tryCompare(menu, "opened", true);
        };
        open();
        for (const key of [Qt.Key_Down, Qt.Key_Down, Qt.Key_Return])
            keyClick(key);
        tryVerify(() => status(0) === "已恢复原图", 10000);
        open();
        window.model.deleteTask(row(0).taskId);
        tryCompare(menu, "visible", false);
    }

    function test_PlaysTheAnimationForEveryImport() {
        for (const name of ["a.png", "b.png"]) {
            world.drop(window, [world.picture(name)]);
            verify(child("splash").playing);
            tryCompare(child("splash"), "playing", false, 5000);
        }
        tryCompare(window.model, "isCompressing", false, 20000);
    }
}
