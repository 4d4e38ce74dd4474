#include "Tarnwick/Desktop/FinderServices.h"
#include "Tarnwick/Model/FinderIntegration.h"
#include "Tarnwick/ModelFixture.h"

#include <QCoreApplication>
#include <atomic>
#include <filesystem>
#include <map>

namespace tarnwick::test {
namespace {

using namespace testing;
using Words = FakeTools::Words;

constexpr auto identifier = "app.tarnwick.Tarnwick.finder";
constexpr auto notConfirmed = "macOS 尚未确认此安装位置的 Finder 扩展已启用。";
/// Seconds, longer than a test may take.
constexpr double anHour = 3600;

class FakeSystem final : public LaunchServices, public Defaults, public ExtensionManagement {
public:
    void registerBundle(const URL& bundle) override { registered.push_back(bundle.path()); }
    bool boolean(const QString& key) const override {
        const auto found = stored.find(key);
        return found != stored.end() && found->second;
    }
    void setBoolean(const QString& key, bool value) override { stored[key] = value; }
    void showExtensionManagementInterface() override { ++managementsShown; }

    std::vector<std::string> registered;
    std::map<QString, bool> stored;
    int managementsShown = 0;
};

class FinderIntegrationTest : public Test {
protected:
    FinderIntegrationTest() {
        createDirectories(extension);
        createDirectories(helper);
        tools.script("pluginkit", {});
        services.sleep = [this](double seconds, const Cancellation&) { sleeps.push_back(seconds); };
        makeIntegration();
    }

    void makeIntegration() { integration.emplace(services, bundle, tools.folder()); }
    static std::string line(const std::string& mark, const std::string& path) {
        return mark + "    " + identifier + "(0.1.0)\tB7F4\t2026-01-02 03:04:05 +0000\t" + path + "\n";
    }
    std::vector<Words> runs() const { return tools.runs("pluginkit"); }
    void finish() {
        ASSERT_TRUE(runUntil([this] { return !integration->isInProgress() || alerts.isOpen(); }));
    }
    /// Enables from the menu. Returns the failure that the alert shows, and closes the alert.
    std::string failure() {
        integration->enableFromMenu();
        finish();
        EXPECT_TRUE(alerts.isOpen());
        const QString text = alerts.shown.back().informativeText;
        alerts.answer(false);
        return text.section('\n', 1).toStdString();
    }

    TemporaryFolder folder;
    const ApplicationBundle bundle{folder / "Tarnwick.app/Contents/Linux/Tarnwick"};
    const URL extension = bundle.extension();
    const URL helper = bundle.helper();
    const Words registering = {"-a", extension.path()};
    const Words enabling = {"-e", "use", "-i", identifier};
    const Words listing = {"-m", "-D", "-v", "-i", identifier};
    const std::map<QString, bool> completed = {{"FinderIntegrationAutoEnableCompleted", true}};
    FakeTools tools;
    FakeSystem system;
    FakeAlerts alerts;
    std::vector<double> sleeps;
    FinderIntegration::Services services{
        .launchServices = system, .defaults = system, .alerts = alerts, .management = system};
    Log log;
    std::optional<FinderIntegration> integration;
};

TEST_F(FinderIntegrationTest, EnablesAtStartUpUntilThatHasSucceededOnce) {
    const std::string elsewhere = line("+", "/opt/Tarnwick.app/Contents/PlugIns/TarnwickFinderSync.appex");
    tools.script("pluginkit", {{"print", elsewhere}});
    integration->registerAtStartUp();
    finish();
    EXPECT_THAT(runs(), ElementsAre(registering, enabling, listing, enabling, listing, enabling, listing));
    EXPECT_THAT(system.registered, ElementsAre((folder / "Tarnwick.app").path(), helper.path()));
    EXPECT_THAT(sleeps, ElementsAre(0.5, 1.0));
    EXPECT_EQ(Log::lines, std::string("Tarnwick Finder 注册失败：") + notConfirmed + "\n");
    EXPECT_FALSE(alerts.isOpen());

    // The listings are the runs 10, 12 and 14.
    tools.scriptRun(12, "pluginkit", {{"print", line("-", extension.path())}});
    tools.scriptRun(14, "pluginkit", {{"print", line("+", extension.path())}});
    integration->registerAtStartUp();
    EXPECT_THAT(system.stored, IsEmpty());
    finish();
    EXPECT_EQ(runs().size(), 14U);
    EXPECT_THAT(sleeps, ElementsAre(0.5, 1.0, 0.5, 1.0));
    EXPECT_EQ(system.stored, completed);

    integration->registerAtStartUp();
    finish();
    EXPECT_EQ(runs().size(), 15U);
}

TEST_F(FinderIntegrationTest, ReportsAFailureOfTheMenuEntryInOneAlert) {
    for (const bool isFirstButton : {false, true}) {
        integration->enableFromMenu();
        finish();
        ASSERT_TRUE(alerts.isOpen());
        EXPECT_THAT(alerts.shown.back(),
                    FieldsAre("Finder 右键菜单暂未启用",
                              QString("自动启用未通过系统校验。可打开系统设置检查扩展。\n") + notConfirmed,
                              "打开系统设置", "稍后"));
        EXPECT_EQ(system.managementsShown, 0);
        integration->enableFromMenu();
        alerts.answer(isFirstButton);
        EXPECT_EQ(system.managementsShown, isFirstButton ? 1 : 0);
        EXPECT_FALSE(integration->isInProgress());
    }
    EXPECT_EQ(runs().size(), 14U) << "seven for each of the two alerts";
    EXPECT_THAT(Log::lines, HasSubstr("Tarnwick Finder 注册失败："));
}

TEST_F(FinderIntegrationTest, EnablesOnceAndReportsTheMenusThatFailed) {
    tools.script("pluginkit", {{"print", line("+", extension.path())}});
    for (const int enablingRun : {2, 5}) {
        tools.scriptRun(enablingRun, "pluginkit", {{"print", "Thunar：damaged\n"}});
    }
    integration->registerAtStartUp();
    finish();
    EXPECT_EQ(system.stored, completed) << "what the user switches off later stays off";
    EXPECT_EQ(Log::lines, "Tarnwick Finder 注册失败：Thunar：damaged\n");
    integration->enableFromMenu();
    finish();
    EXPECT_THAT(alerts.shown, ElementsAre(FieldsAre("部分文件管理器的右键菜单未启用", "Thunar：damaged",
                                                    "打开系统设置", "稍后")));
    alerts.answer(false);
}

TEST_F(FinderIntegrationTest, IgnoresRequestsDuringARun) {
    tools.script("pluginkit", {{"wait-for", (folder / "go").path()}});
    integration->registerExtension(false, true);
    ASSERT_TRUE(runUntil([this] { return !runs().empty(); }));
    integration->enableFromMenu();
    folder.file("go", "");
    finish();
    EXPECT_THAT(runs(), ElementsAre(registering));
    EXPECT_THAT(system.stored, IsEmpty());
    EXPECT_EQ(Log::lines, "");
}

TEST_F(FinderIntegrationTest, FailsWithTheToolOrAnIncompleteBundle) {
    for (const URL& part : {extension, helper}) {
        std::filesystem::remove(part.path());
        EXPECT_EQ(failure(), "安装包缺少 Finder 扩展或后台压缩组件。");
        createDirectories(part);
    }
    EXPECT_THAT(system.registered, IsEmpty());
    int number = 0;
    for (const int lastRun : {1, 2, 3}) {
        number += lastRun;
        tools.scriptRun(number, "pluginkit", {{"error", "not allowed"}, {"status", "3"}});
        EXPECT_EQ(failure(), "压缩组件运行失败：pluginkit（退出码 3）：not allowed");
        EXPECT_EQ(static_cast<int>(runs().size()), number);
    }
    EXPECT_EQ(std::exchange(services.pluginKitTimeout, 0.05), 10) << "the seconds that a run may take";
    tools.script("pluginkit", {{"hang"}});
    makeIntegration();
    EXPECT_EQ(failure(), "压缩组件运行失败：pluginkit 超时");
}

TEST_F(FinderIntegrationTest, EndsARunWhenTheApplicationQuits) {
    services.pluginKitTimeout = anHour;
    makeIntegration();
    tools.script("pluginkit", {{"hang"}});
    integration->enableFromMenu();
    ASSERT_TRUE(runUntil([this] { return !runs().empty(); }));
    integration.reset();

    tools.script("pluginkit", {});
    std::atomic<bool> isAsleep = false;
    services.sleep = [&](double, const Cancellation& cancellation) {
        isAsleep = true;
        sleepUnlessCancelled(anHour, cancellation);
    };
    makeIntegration();
    integration->enableFromMenu();
    ASSERT_TRUE(runUntil([&] { return isAsleep.load(); }));
    integration.reset();
    QCoreApplication::processEvents();
    EXPECT_FALSE(alerts.isOpen());
    EXPECT_EQ(Log::lines, "") << "a cancelled run is no failure";
}

TEST(FinderRegistrationTest, IsConfirmedByAnEnabledExtensionAtItsPlaceOnly) {
    const auto confirms = [](const char* pattern) {
        const QString place = "/opt/Tarn wick.app/TarnwickFinderSync.appex";
        const QString listing = QString(pattern).replace("NAME", identifier).replace("PLACE", place);
        return confirmsExtension(listing.toStdString(), identifier, URL::file(place.toStdString()));
    };
    for (const char* listing :
         {"+    NAME(1.0)\tA1\tPLACE", "+NAME(1.0)\tA1\tPLACE", " \t+\tNAME(1.0)\tA1\tPLACE\r\n",
          "-    NAME(0.9)\tA1\tPLACE\n+    NAME(1.0)\tA2\tPLACE\n (2 plug-ins)\n",
          "\n\n+ NAME(1.0)\tA1\tPLACE"}) {
        EXPECT_TRUE(confirms(listing)) << listing;
    }
    for (const char* listing :
         {"", "     NAME(1.0)\tA1\tPLACE", "-    NAME(1.0)\tA1\tPLACE", "!+   NAME(1.0)\tA1\tPLACE",
          "+    NAMEr(1.0)\tA1\tPLACE", "+    NAME (1.0)\tA1\tPLACE", "+    NAME",
          "+    an.otherNAME(1.0)\tA1\tPLACE", "+    an.other(1.0)\tA1\tPLACE\nNAME(1.0)\tA1\tPLACE",
          "+    NAME(1.0)\nA1\tPLACE",
          "+    NAME(1.0)\tA1\t/home/me/Tarn wick.app/TarnwickFinderSync.appex"}) {
        EXPECT_FALSE(confirms(listing)) << listing;
    }
    EXPECT_TRUE(confirmsExtension("+ an.extension(1)\t/opt/\uFFFD/it.appex", "an.extension",
                                  URL::file("/opt/\xFF/it.appex")));
}

} // namespace
} // namespace tarnwick::test
