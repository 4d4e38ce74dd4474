import QtQuick
import QtTest
import Tarnwick
import TarnwickTests

TestCase {
    id: test

    property World world
    property Main window
    property ExtensionSettingsWindow settings
    property ListView list

    name: "Extensions"
    when: windowShown

    Component {
        id: worlds
        World {}
    }
    Component {
        id: windows
        Main {}
    }
    SignalSpy {
        id: enableSpy
        signalName: "finderEnableRequested"
    }
    SignalSpy {
        id: settingsSpy
        signalName: "finderSettingsRequested"
    }

    function init() {
        world = worlds.createObject(null);
        world.install(["nautilus", "thunar", "dolphin"]);
        window = windows.createObject(null, world.windowProperties);
        settings = findChild(window, "extensionSettings");
        list = findChild(settings, "extensionList");
        verify(waitForRendering(window.contentItem));
    }
    function cleanup() {
        settings.close();
        window.destroy();
        wait(0);
        world.destroy();
        wait(0);
    }
    function open() {
        verify(!settings.visible);
        world.openExtensionSettings();
        tryCompare(settings, "active", true);
        tryCompare(world.extensionSettings, "isLoaded", true);
        // What has just been shown has yet to be laid out.
        wait(50);
    }
    function switchOf(index) {
        tryVerify(() => list.itemAtIndex(index) !== null);
        return findChild(list.itemAtIndex(index), "extensionSwitch");
    }

    function test_switchesWithThePointer() {
        open();
        compare(list.count, 3);
        const thunar = switchOf(1);
        verify(!thunar.checked);
        mouseClick(thunar);
        verify(thunar.checked);
        tryVerify(() => world.isEnabled("Thunar"));
        verify(!world.isEnabled("Nautilus"));
        mouseClick(thunar);
        tryVerify(() => !world.isEnabled("Thunar"));
        verify(!thunar.checked);
    }

    function test_isDrivenByTheKeyboard() {
        open();
        for (const key of [Qt.Key_Space, Qt.Key_Return]) {
            const index = key === Qt.Key_Space ? 0 : 2;
            for (let steps = 0; !switchOf(index).activeFocus; ++steps) {
                verify(steps < 8, "reached by the keyboard");
                keyClick(Qt.Key_Tab);
            }
            keyClick(key);
            verify(switchOf(index).checked);
        }
        tryVerify(() => world.isEnabled("Nautilus") && world.isEnabled("Dolphin"));
        verify(switchOf(2).activeFocus, "the rows stay");
        keyClick(Qt.Key_Escape);
        tryCompare(settings, "visible", false);
    }

    function test_showsAFailureAndTheSwitchAsItIs() {
        world.obstruct("kio");
        open();
        const note = findChild(settings, "extensionFailure");
        verify(!note.visible);
        mouseClick(switchOf(2));
        tryCompare(note, "visible", true);
        verify(note.text.includes("/kio"), note.text);
        tryVerify(() => !switchOf(2).checked);
        mouseClick(switchOf(0));
        tryCompare(note, "visible", false);
    }

    function test_saysWhenThereIsNoFileManager() {
        world.install([]);
        open();
        const sentence = findChild(settings, "noneFound");
        tryCompare(sentence, "visible", true);
        verify(!list.visible);
        settings.close();
        world.install(["nemo"]);
        open();
        tryCompare(list, "count", 1);
        verify(!sentence.visible);
    }

    function test_fitsASmallWindow() {
        world.install(["nautilus", "nemo", "caja", "thunar", "dolphin"]);
        open();
        compare(settings.width, 420);
        compare(settings.height, 480);
        const close = findChild(settings, "closeExtensionSettings");
        const bottom = close.mapToItem(null, 0, close.height).y;
        verify(bottom <= settings.height && bottom > settings.height - 40, bottom);
        for (let index = 0; index < 5; ++index) {
            const button = switchOf(index);
            verify(button.mapToItem(null, button.width, 0).x <= settings.width);
        }
        verify(list.contentHeight <= list.height, "all rows at once");
    }

    function test_theMenuAsksForBoth() {
        enableSpy.target = window;
        settingsSpy.target = window;
        const menu = findChild(window, "appMenu");
        for (const [item, spy] of [["enableFinderItem", enableSpy], ["finderSettingsItem", settingsSpy]]) {
            spy.clear();
            menu.popup();
            tryCompare(menu, "opened", true);
            mouseClick(findChild(menu.contentItem, item));
            compare(spy.count, 1);
            tryCompare(menu, "visible", false);
        }
    }

    function test_anAlertIsAnsweredOnce() {
        const answers = {firstAnswer: "1", secondAnswer: "2"};
        for (const name in answers) {
            world.answers = "";
            world.alert();
            const button = findChild(window, name);
            tryVerify(() => button.visible);
            tryVerify(() => findChild(window, "firstAnswer").activeFocus);
            wait(200);
            mouseClick(button);
            tryVerify(() => !button.visible);
            compare(world.answers, answers[name]);
        }
        world.answers = "";
        world.alert();
        tryVerify(() => findChild(window, "firstAnswer").activeFocus);
        keyClick(Qt.Key_Escape);
        tryCompare(world, "answers", "2");
        tryVerify(() => !findChild(window, "firstAnswer").visible);
        compare(world.answers, "2");
    }
}
