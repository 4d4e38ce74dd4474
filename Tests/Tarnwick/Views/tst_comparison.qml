import QtQuick
import QtTest
import Tarnwick

WindowTestCase {
    name: "Comparison"

    property Item view
    property Item canvas
    property url file

    function open() {
        if (list.count === 0)
            file = compress(["a.png"])[0];
        view = child("comparison");
        tryCompare(row(0), "canCompare", true);
        world.doubleClick(row(0), 60, 30);
        verify(view.open);
    }
    function openReady() {
        open();
        canvas = child("canvas", view);
        tryCompare(canvas, "visible", true, 10000);
        tryVerify(() => child("originalSide", view).tileCount > 0);
    }

    function test_ZoomsWithWheelButtonsAndDoubleClick() {
        openReady();
        const geometry = canvas.model;
        const fitted = geometry.displayedSize;
        fuzzyCompare(fitted.width, Math.min(600, window.width), 1);
        mouseWheel(canvas, 100, 300, 0, 120);
        fuzzyCompare(geometry.zoom, Math.exp(0.12), 1e-6);
        mouseWheel(canvas, 100, 300, 0, -120);
        fuzzyCompare(geometry.zoom, 1, 1e-6);
        mouseClick(child("zoomIn", view));
        compare(geometry.zoom, 1.25);
        compare(geometry.zoomRequest, 0);
        compare(child("zoomPercent", view).text, geometry.percent + "%");
        mouseClick(child("zoomOut", view));
        compare(geometry.zoom, 1);
        world.doubleClick(canvas, 100, 300);
        compare(geometry.zoom, 2);
        mouseDrag(canvas, 100, 300, 5000, 40, Qt.LeftButton, Qt.NoModifier, 20);
        compare(geometry.offset.x, (geometry.displayedSize.width - window.width) / 2, "stops at the edge");
        mouseClick(child("actualSizeButton", view));
        compare(geometry.scale, 1);
        mouseClick(child("fitButton", view));
        compare(geometry.displayedSize.width, fitted.width);
    }

    function test_ShowsBothPicturesAndMovesTheDivider() {
        openReady();
        const shot = grabImage(canvas);
        for (const x of [40, window.width - 40])
            verify(!Qt.colorEqual(shot.pixel(x, Math.round(window.height / 2)), Theme.canvas), "at " + x);
        const original = child("originalSide", view);
        const compressed = child("compressedSide", view);
        compare(original.width + compressed.width, window.width);
        compare(original.pictureRect.x, compressed.pictureRect.x + compressed.x, "both in one place");
        mouseDrag(view, window.width / 2, 200, 100, 0, Qt.LeftButton, Qt.NoModifier, 20);
        fuzzyCompare(canvas.model.split, 0.5 + 100 / window.width, 0.02);
        compare(original.width, Math.round(window.width * canvas.model.split));
        mouseDrag(view, window.width * canvas.model.split, 200, 5000, 0, Qt.LeftButton, Qt.NoModifier, 20);
        compare(canvas.model.split, 1);
        keyClick(Qt.Key_Left);
        verify(canvas.model.split < 1);
    }

    function test_ShowsTheFailure() {
        compress(["a.png"]);
        world.text("a.png");
        open();
        tryCompare(child("comparisonNotice", view), "text", "压缩后的图片已被修改", 10000);
        mouseClick(child("closeNotice", view));
        verify(!view.open);
    }

    function test_ClosesWhileItLoads() {
        open();
        keyClick(Qt.Key_Escape);
        verify(!view.open);
        openReady();
    }
}
