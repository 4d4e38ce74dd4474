#include "Foundation/CompressionError.h"
#include "Process/ToolRunner.h"
#include "Support/EnvironmentVariable.h"
#include "TarnwickFinderSync/MenuFixture.h"

namespace tarnwick::test {
namespace {

using namespace testing;

constexpr auto identifier = "app.tarnwick.Tarnwick.finder";
constexpr auto registry = "home/.local/share/Tarnwick/FinderExtensions.json";

/// Runs the real program, in its cage.
class RegistrarTest : public MenuFixture {
protected:
    /// Copies the extension's bundle to its place beside the executable.
    URL bundle(const URL& executable) const {
        const URL contents = executable.deletingLastPathComponent().deletingLastPathComponent();
        URL bundle = contents.appending("PlugIns/TarnwickFinderSync.appex");
        createDirectories(bundle);
        fs::copy(programs.deletingLastPathComponent().path(), bundle.appending("Contents").path(),
                 fs::copy_options::recursive);
        return bundle;
    }

    /// The output, or the text of the error.
    std::string pluginkit(const std::vector<std::string>& arguments) const {
        try {
            return ToolRunner(programs).confinedTo({}).run("pluginkit", arguments, 60);
        } catch (const CompressionError& error) {
            return error.errorDescription();
        }
    }
    std::string add(const URL& bundle) const { return pluginkit({"-a", bundle.path()}); }
    std::string elect(const std::string& use) const { return pluginkit({"-e", use, "-i", identifier}); }
    std::string list() const { return pluginkit({"-m", "-D", "-v", "-i", identifier}); }

    const URL programs = URL::file(TARNWICK_PLUGINKIT).deletingLastPathComponent();
    const EnvironmentVariable home{"HOME", (machine / "home").path()};
    const EnvironmentVariable path{"PATH", (machine / "bin").path()};
    const EnvironmentVariable system{"XDG_CONFIG_DIRS", (machine / "etc/xdg").path()};
    const EnvironmentVariable data{"XDG_DATA_HOME", ""};
    const EnvironmentVariable configuration{"XDG_CONFIG_HOME", ""};
    /// The leak checker starts a process, which the cage refuses.
    const EnvironmentVariable leaks{"ASAN_OPTIONS", "detect_leaks=0"};
};

TEST_F(RegistrarTest, ListsAnExtensionAsTheMenusShowIt) {
    const URL extension = bundle(application);
    EXPECT_EQ(add(extension), "");
    const std::string line = list();
    EXPECT_THAT(line, MatchesRegex("     app\\.tarnwick\\.Tarnwick\\.finder\\([0-9.]+\\)\t[0-9A-F-]{36}\t"
                                   "[0-9-]{10} [0-9:]{8} \\+0000\t[^\t\n]*\n"));
    EXPECT_THAT(line, HasSubstr("\t" + extension.path() + "\n"));
    EXPECT_EQ(elect("use"), "");
    EXPECT_EQ(list(), "+" + line.substr(1)) << "there is no file manager that could have an entry";
    install("dolphin");
    EXPECT_EQ(list(), line);
    EXPECT_EQ(elect("use"), "");
    EXPECT_EQ(enabled(menus), "Dolphin ");
    EXPECT_EQ(list(), "+" + line.substr(1));
    removeFile(machine / "home/.local/share/kio/servicemenus/tarnwick.desktop");
    EXPECT_EQ(list(), line) << "the entry is gone, although the user elected it";
    menus.setEnabled(FileManager::dolphin, true);
    EXPECT_EQ(elect("ignore"), "");
    EXPECT_EQ(list(), "-" + line.substr(1));
    EXPECT_FALSE(itemExists(machine / "home/.local/share/kio"));
}

TEST_F(RegistrarTest, OneMenuThatFailsPreventsNoOther) {
    install("thunar");
    write("home/.config/Thunar/uca.xml", "<actions><action></actions>");
    add(bundle(application));
    EXPECT_THAT(elect("use"), AllOf(HasSubstr("退出码 1）"), HasSubstr("Thunar"))) << "there is no other";
    EXPECT_THAT(list(), StartsWith(" "));
    install("dolphin");
    EXPECT_THAT(elect("use"), MatchesRegex("Thunar：Thunar 的自定义动作文件有误，未作更改：[^\n]*\n"));
    EXPECT_EQ(enabled(menus), "Dolphin ");
    EXPECT_THAT(list(), StartsWith("+"));
}

TEST_F(RegistrarTest, UpdatesTheRegistrationOfAMovedApplication) {
    install("nemo");
    const URL extension = bundle(application);
    add(extension);
    elect("use");
    const std::string first = list();
    add(extension);
    EXPECT_EQ(list().substr(0, 80), first.substr(0, 80)) << "the UUID stays, and no line is added";
    fs::rename((machine / applicationFolder).path(), (machine / "moved").path());
    EXPECT_THAT(list(), StartsWith("+")) << "nothing was registered yet";
    const URL moved = machine / "moved/Tarnwick.app/Contents/PlugIns/TarnwickFinderSync.appex";
    add(moved);
    EXPECT_THAT(list(), AllOf(StartsWith("+"), HasSubstr("\t" + moved.path() + "\n")));
    EXPECT_THAT(list(), Not(HasSubstr(extension.path()))) << "a bundle that is gone is dropped";
    EXPECT_THAT(contents(machine / "home/.local/share/nemo/actions/tarnwick.nemo_action"),
                HasSubstr((machine / "moved").path()));
}

TEST_F(RegistrarTest, TheLastOfTwoApplicationsHasTheEntries) {
    install("nemo");
    add(bundle(application));
    add(bundle(makeApplication("second")));
    elect("use");
    EXPECT_THAT(list(), MatchesRegex(" [^\n]*\n\\+[^\n]*/second/[^\n]*\n"));
    removeFile(machine / "second/Tarnwick.app/Contents/Linux/Tarnwick");
    const auto before = userFiles();
    EXPECT_THAT(elect("use"), HasSubstr("/second/")) << "a missing application gets no entries";
    EXPECT_EQ(userFiles(), before);
    EXPECT_EQ(elect("ignore"), "");
    EXPECT_FALSE(itemExists(machine / "home/.local/share/nemo"));
}

TEST_F(RegistrarTest, WrongCallsChangeNothing) {
    createDirectories(machine / "empty.appex");
    const auto before = userFiles();
    EXPECT_THAT(add(machine / "empty.appex"), AllOf(HasSubstr("退出码 1）"), HasSubstr("empty.appex")));
    EXPECT_THAT(add(machine / "none"), HasSubstr("none"));
    EXPECT_THAT(add(bundle(makeApplication("line\nfeed"))), HasSubstr("换行"));
    EXPECT_THAT(elect("use"), HasSubstr(identifier));
    EXPECT_THAT(pluginkit({"-m", "-D", "-v", "-i", "other"}), HasSubstr("other"));
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {}, {"-a"}, {"-a", "x", "y"}, {"-e", "maybe", "-i", "x"}, {"-m", "-v", "-i", "x"}, {"--help"}}) {
        EXPECT_THAT(pluginkit(arguments),
                    AllOf(HasSubstr("退出码 64）"), HasSubstr("usage: pluginkit -a PATH")));
    }
    EXPECT_EQ(userFiles(), before);
    write(registry, "{\"bundles\": [1");
    EXPECT_THAT(add(bundle(application)), HasSubstr("FinderExtensions.json"));
    EXPECT_EQ(contents(machine / registry), "{\"bundles\": [1");
}

} // namespace
} // namespace tarnwick::test
