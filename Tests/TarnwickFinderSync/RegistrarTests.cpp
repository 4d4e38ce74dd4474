#include "TarnwickFinderSync/MenuFixture.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace tarnwick::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

constexpr auto identifier = "app.tarnwick.Tarnwick.finder";

/// The real program, in the bundle of the machine's application.
class RegistrarTests : public MenuFixture {
protected:
    /// The extension's bundle beside an executable in "Contents/Linux".
    URL bundle(const URL& executable) const {
        const URL contents = executable.deletingLastPathComponent().deletingLastPathComponent();
        URL bundle = contents.appending("PlugIns/TarnwickFinderSync.appex");
        const fs::path built = fs::path(TARNWICK_PLUGINKIT).parent_path().parent_path();
        fs::create_directories(bundle.path());
        fs::copy(built, fs::path(bundle.path()) / "Contents", fs::copy_options::recursive);
        return bundle;
    }

    ProcessEnd pluginkit(const std::vector<std::string>& arguments) const {
        std::vector<std::string> command = {TARNWICK_PLUGINKIT};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return run({"HOME=" + (machine / "home").path(), "PATH=" + (machine / "bin").path(),
                    "XDG_CONFIG_DIRS=" + (machine / "etc/xdg").path()},
                   command);
    }

    void succeed(const std::vector<std::string>& arguments) const {
        const ProcessEnd end = pluginkit(arguments);
        EXPECT_EQ(end.status, 0) << end.errors;
        EXPECT_THAT(end.output + end.errors, IsEmpty());
    }

    void fail(const std::vector<std::string>& arguments, int status, const std::string& words) const {
        const ProcessEnd end = pluginkit(arguments);
        EXPECT_EQ(end.status, status) << testing::PrintToString(arguments);
        EXPECT_THAT(end.errors, HasSubstr(words));
        EXPECT_THAT(end.output, IsEmpty());
    }

    std::string list() const {
        const ProcessEnd end = pluginkit({"-m", "-D", "-v", "-i", identifier});
        EXPECT_EQ(end.status, 0) << end.errors;
        return end.output;
    }
};

TEST_F(RegistrarTests, AnExtensionIsRegisteredUsedAndIgnored) {
    install("thunar");
    const URL extension = bundle(application);
    succeed({"-a", extension.path()});
    const std::string line = list();
    EXPECT_THAT(line, MatchesRegex("     app\\.tarnwick\\.Tarnwick\\.finder\\([0-9.]+\\)\t[0-9A-F-]{36}\t"
                                   "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} \\+0000\t.*\n"));
    EXPECT_THAT(line, HasSubstr("\t" + extension.path() + "\n"));
    succeed({"-e", "use", "-i", identifier});
    EXPECT_THAT(list(), StartsWith("+    app"));
    EXPECT_TRUE(isEnabled(FileManager::thunar));
    EXPECT_FALSE(isEnabled(FileManager::nemo));
    succeed({"-e", "ignore", "-i", identifier});
    EXPECT_THAT(list(), StartsWith("-    app"));
    EXPECT_THAT(contents(machine / "home/.local/share/Tarnwick/FinderExtensions.json"),
                HasSubstr("\"ignore\""));
    EXPECT_EQ(list().substr(1), line.substr(1)) << "all but the mark stays";
    EXPECT_FALSE(itemExists(machine / "home/.config/Thunar"));
}

TEST_F(RegistrarTests, TheListTellsWhatIsReallyThere) {
    succeed({"-a", bundle(application).path()});
    succeed({"-e", "use", "-i", identifier});
    EXPECT_THAT(list(), StartsWith("+")) << "no file manager could have an entry";
    install("dolphin");
    EXPECT_THAT(list(), StartsWith(" "));
    menus.setEnabled(FileManager::dolphin, true);
    EXPECT_THAT(list(), StartsWith("+"));
    removeFile(machine / "home/.local/share/kio/servicemenus/tarnwick.desktop");
    EXPECT_THAT(list(), StartsWith(" ")) << "the entry is gone, whatever was elected";
}

TEST_F(RegistrarTests, AMovedApplicationIsRegisteredAnew) {
    install("nemo");
    const URL extension = bundle(application);
    succeed({"-a", extension.path()});
    succeed({"-e", "use", "-i", identifier});
    const std::string first = list();
    succeed({"-a", extension.path()});
    EXPECT_EQ(list().substr(0, 80), first.substr(0, 80)) << "the identifier stays, no line is added";
    fs::rename((machine / "It's a \"图片\" $HOME `id` \\n\\\\ & <b>").path(), (machine / "moved").path());
    EXPECT_THAT(list(), StartsWith("+")) << "nobody has told yet";
    const URL moved = machine / "moved/Tarnwick.app/Contents/PlugIns/TarnwickFinderSync.appex";
    succeed({"-a", moved.path()});
    EXPECT_THAT(list(), StartsWith("+"));
    EXPECT_THAT(list(), HasSubstr("\t" + moved.path() + "\n"));
    EXPECT_THAT(list(), Not(HasSubstr(extension.path()))) << "a bundle that is gone is dropped";
    EXPECT_THAT(contents(machine / "home/.local/share/nemo/actions/tarnwick.nemo_action"),
                HasSubstr((machine / "moved").path()));
}

TEST_F(RegistrarTests, OfTwoApplicationsTheLastHasTheEntries) {
    install("nemo");
    succeed({"-a", bundle(application).path()});
    succeed({"-a", bundle(makeApplication("second")).path()});
    succeed({"-e", "use", "-i", identifier});
    const std::string lines = list();
    const std::string second = lines.substr(lines.find('\n') + 1);
    EXPECT_THAT(lines, StartsWith(" "));
    EXPECT_THAT(second, StartsWith("+"));
    EXPECT_THAT(second, HasSubstr("/second/"));
}

TEST_F(RegistrarTests, WrongCallsChangeNothing) {
    createDirectories(machine / "empty.appex");
    const auto before = userFiles();
    fail({"-a", (machine / "empty.appex").path()}, 1, "empty.appex");
    fail({"-a", (machine / "none").path()}, 1, "none");
    fail({"-a", bundle(makeApplication("line\nfeed")).path()}, 1, "换行");
    fail({"-e", "use", "-i", identifier}, 1, identifier);
    fail({"-m", "-D", "-v", "-i", "other"}, 1, "other");
    const std::vector<std::vector<std::string>> unknown = {
        {}, {"-a"}, {"-a", "x", "y"}, {"-e", "maybe", "-i", "x"}, {"-m", "-v", "-i", "x"}, {"--help"}};
    for (const auto& arguments : unknown) {
        fail(arguments, 64, "usage: pluginkit -a PATH");
    }
    EXPECT_EQ(userFiles(), before);
}

TEST_F(RegistrarTests, AnApplicationThatIsGoneGetsNoEntries) {
    install("nemo");
    succeed({"-a", bundle(application).path()});
    succeed({"-e", "use", "-i", identifier});
    removeFile(application);
    const auto before = userFiles();
    fail({"-e", "use", "-i", identifier}, 1, application.path());
    EXPECT_EQ(userFiles(), before);
    succeed({"-e", "ignore", "-i", identifier});
    EXPECT_FALSE(isEnabled(FileManager::nemo));
}

TEST_F(RegistrarTests, ADamagedRecordIsToldAndKept) {
    write("home/.local/share/Tarnwick/FinderExtensions.json", "{\"bundles\": [1");
    fail({"-a", bundle(application).path()}, 1, "FinderExtensions.json");
    EXPECT_EQ(contents(machine / "home/.local/share/Tarnwick/FinderExtensions.json"), "{\"bundles\": [1");
}

} // namespace
} // namespace tarnwick::test
