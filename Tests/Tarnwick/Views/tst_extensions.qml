import QtQuick
import QtTest
import Tarnwick

WindowTestCase {
    name: "Extensions"

    property ExtensionSettingsWindow settings
    property ListView extensions

    SignalSpy {
        id: enableSpy
        signalName: "finderEnableRequested"
    }

    /// Opens the settings on a machine with these file managers.
    function open(fileManagers) {
        world.install(fileManagers);
        settings = child("extensionSettings");
        extensions = child("extensionList", settings);
        verify(!settings.visible);
        window.extensionSettings.showExtensionManagementInterface();
        tryCompare(settings, "active", true);
        tryCompare(window.extensionSettings, "isLoaded", true);
        tryCompare(extensions, "count", fileManagers.length);
    }
    function switchOf(index) {
        tryVerify(() => extensions.itemAtIndex(index) !== null);
        return child("extensionSwitch", extensions.itemAtIndex(index));
    }

    function test_SwitchesWithThePointer() {
        open(["nautilus", "thunar", "dolphin"]);
        const thunar = switchOf(1);
        verify(!thunar.checked);
        click(thunar);
        verify(thunar.checked);
        tryVerify(() => world.isEnabled("Thunar"));
        verify(!world.isEnabled("Nautilus"));
        click(thunar);
        tryVerify(() => !world.isEnabled("Thunar"));
        verify(!thunar.checked);
    }

    function test_IsOperatedWithTheKeyboard() {
        open(["nautilus", "thunar", "dolphin"]);
        for (const [key, index] of [[Qt.Key_Space, 0], [Qt.Key_Return, 2]]) {
            for (let steps = 0; !switchOf(index).activeFocus; ++steps) {
                verify(steps < 8, "reached with the keyboard");
                keyClick(Qt.Key_Tab);
            }
            keyClick(key);
            verify(switchOf(index).checked);
        }
        tryVerify(() => world.isEnabled("Nautilus") && world.isEnabled("Dolphin"));
        verify(switchOf(2).activeFocus, "the rows are kept");
        keyClick(Qt.Key_Escape);
        tryCompare(settings, "visible", false);
    }

    function test_ShowsAFailureAndTheRealState() {
        world.blockFolder("kio");
        open(["nautilus", "dolphin"]);
        const note = child("extensionFailure", settings);
        verify(!note.visible);
        click(switchOf(1));
        tryCompare(note, "visible", true);
        verify(note.text.includes("kio"), note.text);
        tryVerify(() => !switchOf(1).checked);
        click(switchOf(0));
        tryCompare(note, "visible", false);
    }

    function test_SaysWhenThereIsNoFileManager() {
        open([]);
        const sentence = child("noneFound", settings);
        tryCompare(sentence, "visible", true);
        verify(!extensions.visible);
        settings.close();
        open(["nemo"]);
        verify(!sentence.visible);
    }

    function test_FitsASmallWindow() {
        open(["nautilus", "nemo", "caja", "thunar", "dolphin"]);
        compare(settings.width, 420);
        compare(settings.height, 480);
        const close = child("closeExtensionSettings", settings);
        const bottom = () => close.mapToItem(null, 0, close.height).y;
        tryVerify(() => bottom() > settings.height - 40 && bottom() <= settings.height);
        verify(switchOf(4).mapToItem(null, switchOf(4).width, 0).x <= settings.width);
        verify(extensions.contentHeight <= extensions.height, "all rows at once");
    }

    function test_TheMenuRequestsBoth() {
        enableSpy.target = window.viewState;
        const menu = child("appMenu");
        for (const item of ["enableFinderItem", "finderSettingsItem"]) {
            menu.popup();
            tryCompare(menu, "opened", true);
            mouseClick(child(item, menu.contentItem));
            tryCompare(menu, "visible", false);
            compare(enableSpy.count, 1);
        }
        tryCompare(child("extensionSettings"), "visible", true);
    }

    function test_AnAlertIsAnsweredOnce() {
        const sheet = child("questionSheet");
        const answer = (act, expected) => {
            world.answers = "";
            world.alert();
            tryCompare(sheet, "opened", true);
            verify(child("firstAnswer").activeFocus);
            verify(sheet.height < 300, "what looks like markup is text");
            act();
            tryCompare(sheet, "visible", false);
            compare(world.answers, expected);
        };
        answer(() => mouseClick(child("firstAnswer")), "1");
        answer(() => mouseClick(child("secondAnswer")), "2");
        // From here on Escape answers.
        world.answers = "";
        window.viewState.showsAbout = true;
        world.alert();
        verify(!sheet.visible);
        window.viewState.showsAbout = false;
        for (const answers of ["2", "22", "222"]) {
            tryCompare(sheet, "opened", true);
            keyClick(Qt.Key_Escape);
            // It arrives while the one before it leaves the screen.
            world.alert();
            tryVerify(() => world.answers === answers);
        }
        window.model.alertMessage = "x";
        verify(!child("alertButton").visible);
        world.answers = "";
    }
}
