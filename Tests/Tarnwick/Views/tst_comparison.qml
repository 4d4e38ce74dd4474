import QtQuick
import QtTest
import Tarnwick
import TarnwickTests

TestCase {
    id: test

    property World world
    property Main window
    property Item view
    property Item canvas
    property url file

    name: "Comparison"
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
        verify(waitForRendering(window.contentItem));
        file = world.picture("a.png");
        world.drop(window, [file]);
        tryCompare(world.model, "isCompressing", false, 20000);
        view = findChild(window, "comparison");
    }
    function cleanup() {
        window.destroy();
        wait(0);
        world.destroy();
        wait(0);
    }
    function open() {
        const list = findChild(window, "list");
        tryVerify(() => list.itemAtIndex(0) !== null);
        tryVerify(() => list.itemAtIndex(0).canCompare);
        world.doubleClick(list.itemAtIndex(0), 60, 30);
        verify(view.open);
    }
    function openReady() {
        open();
        canvas = findChild(view, "canvas");
        tryCompare(canvas, "visible", true, 10000);
        tryVerify(() => findChild(view, "originalSide").tileCount > 0);
    }

    function test_zoomsWithWheelButtonsAndDoubleClick() {
        openReady();
        const geometry = canvas.model;
        const fitted = geometry.displayedSize;
        fuzzyCompare(fitted.width, Math.min(600, window.width), 1);
        mouseWheel(canvas, 100, 300, 0, 120);
        fuzzyCompare(geometry.zoom, Math.exp(0.12), 1e-6);
        mouseWheel(canvas, 100, 300, 0, -120);
        fuzzyCompare(geometry.zoom, 1, 1e-6);
        mouseClick(findChild(view, "zoomIn"));
        compare(geometry.zoom, 1.25);
        compare(geometry.zoomRequest, 0);
        compare(findChild(view, "zoomPercent").text, geometry.percent + "%");
        mouseClick(findChild(view, "zoomOut"));
        compare(geometry.zoom, 1);
        world.doubleClick(canvas, 100, 300);
        compare(geometry.zoom, 2);
        mouseDrag(canvas, 100, 300, 5000, 40, Qt.LeftButton, Qt.NoModifier, 20);
        compare(geometry.offset.x, (geometry.displayedSize.width - window.width) / 2, "stops at the edge");
        mouseClick(findChild(view, "actualSizeButton"));
        compare(geometry.scale, 1);
        mouseClick(findChild(view, "fitButton"));
        compare(geometry.displayedSize.width, fitted.width);
    }

    function test_movesTheDivider() {
        openReady();
        const divider = findChild(view, "divider");
        const original = findChild(view, "originalSide");
        const compressed = findChild(view, "compressedSide");
        compare(original.width + compressed.width, window.width);
        compare(original.pictureRect.x, compressed.pictureRect.x + compressed.x, "both in one place");
        mouseDrag(view, window.width / 2, 200, 100, 0, Qt.LeftButton, Qt.NoModifier, 20);
        fuzzyCompare(canvas.model.split, 0.5 + 100 / window.width, 0.02);
        compare(original.width, Math.round(window.width * canvas.model.split));
        mouseDrag(view, window.width * canvas.model.split, 200, 5000, 0, Qt.LeftButton, Qt.NoModifier, 20);
        compare(canvas.model.split, 1);
        keyClick(Qt.Key_Left);
        verify(canvas.model.split < 1);
        tryVerify(() => original.tileCount > 0);
    }

    function test_showsThePicturesOnBothSides() {
        openReady();
        const shot = grabImage(canvas);
        const y = Math.round(window.height / 2);
        for (const x of [40, window.width - 40])
            verify(!Qt.colorEqual(shot.pixel(x, y), Theme.canvas), "at " + x);
    }

    function test_saysWhatIsWrong() {
        world.spoil(file);
        open();
        const notice = findChild(view, "comparisonNotice");
        tryCompare(notice, "text", "压缩后的图片已被修改", 10000);
        mouseClick(findChild(view, "closeNotice"));
        verify(!view.open);
    }

    function test_closesWhileItLoads() {
        open();
        keyClick(Qt.Key_Escape);
        verify(!view.open);
        wait(300);
    }
}
