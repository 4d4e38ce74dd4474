#include "Support/FakeTools.h"
#include "Support/TemporaryFolder.h"
#include "Tarnwick/Desktop/Dialogs.h"
#include "Tarnwick/Desktop/FinderServices.h"
#include "Tarnwick/Model/FinderIntegration.h"
#include "Tarnwick/ModelFixture.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarnwick::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Words = FakeTools::Words;
using Clock = std::chrono::steady_clock;

constexpr auto identifier = "app.tarnwick.Tarnwick.finder";
constexpr auto notConfirmed = "macOS 尚未确认此安装位置的 Finder 扩展已启用。";

/// What the integration asks of the system, as a record.
class FakeSystem final : public LaunchServices,
                         public Defaults,
                         public AlertPresenter,
                         public ExtensionManagement {
public:
    void registerBundle(const URL& bundle) override { registered.push_back(bundle.path()); }
    bool boolean(const QString& key) const override {
        const auto found = stored.find(key);
        return found != stored.end() && found->second;
    }
    void setBoolean(const QString& key, bool value) override { stored[key] = value; }
    void show(const Alert& shown, Answer whenAnswered) override {
        EXPECT_FALSE(answer) << "an alert is open";
        alert = shown;
        answer = std::move(whenAnswered);
    }
    void showExtensionManagementInterface() override { ++managementsShown; }

    std::vector<std::string> registered;
    std::map<QString, bool> stored;
    std::optional<Alert> alert;
    Answer answer;
    int managementsShown = 0;
};

class FinderIntegrationTest : public testing::Test {
protected:
    FinderIntegrationTest() {
        createDirectories(extension);
        createDirectories(helper);
        tools.script("pluginkit", {});
        makeIntegration([this](double seconds, const Cancellation&) { sleeps.push_back(seconds); },
                        tools.folder());
    }

    void makeIntegration(const FinderRegistration::Sleep& sleep, const URL& pluginKitDirectory) {
        integration.emplace(FinderIntegration::Services{.launchServices = system,
                                                        .defaults = system,
                                                        .alerts = system,
                                                        .management = system,
                                                        .sleep = sleep},
                            ApplicationBundle(folder / "Tarnwick.app/Contents/Linux/Tarnwick"),
                            pluginKitDirectory);
    }
    /// A line as pluginkit lists an extension.
    static std::string line(const std::string& mark, const std::string& path) {
        return mark + "    " + identifier + "(0.1.0)\tB7F4\t2026-01-02 03:04:05 +0000\t" + path + "\n";
    }
    /// What the listings say, one after another: each attempt lists once, as its second run.
    void list(const std::vector<std::string>& listings) const {
        for (std::size_t attempt = 0; attempt < listings.size(); ++attempt) {
            tools.scriptRun(3 + 2 * static_cast<int>(attempt), "pluginkit", {{"print", listings[attempt]}});
        }
    }
    void waitForEnd() {
        ASSERT_TRUE(waitUntil([this] { return !integration->isInProgress() || system.answer != nullptr; }));
    }
    bool isCompleted() const { return system.boolean("FinderIntegrationAutoEnableCompleted"); }
    void answer(bool isFirstButton) {
        ASSERT_TRUE(system.answer);
        std::exchange(system.answer, nullptr)(isFirstButton);
    }

    TemporaryFolder folder;
    const URL extension = folder / "Tarnwick.app/Contents/PlugIns/TarnwickFinderSync.appex";
    const URL helper = folder / "Tarnwick.app/Contents/Library/LoginItems/TarnwickBackground.app";
    const Words registering = {"-a", extension.path()};
    const Words enabling = {"-e", "use", "-i", identifier};
    const Words listing = {"-m", "-D", "-v", "-i", identifier};
    FakeTools tools;
    FakeSystem system;
    std::vector<double> sleeps;
    Log log;
    std::optional<FinderIntegration> integration;
};

TEST_F(FinderIntegrationTest, EnablesAtStartUpUntilThatHasSucceededOnce) {
    list({line("+", extension.path())});
    integration->registerAtStartUp();
    EXPECT_THAT(system.stored, IsEmpty()) << "before the run has ended";
    waitForEnd();
    EXPECT_THAT(tools.runs("pluginkit"), ElementsAre(registering, enabling, listing));
    EXPECT_THAT(system.registered, ElementsAre((folder / "Tarnwick.app").path(), helper.path()));
    EXPECT_TRUE(isCompleted());
    EXPECT_THAT(sleeps, IsEmpty());
    integration->registerAtStartUp();
    waitForEnd();
    EXPECT_THAT(tools.runs("pluginkit"), ElementsAre(registering, enabling, listing, registering));
    EXPECT_EQ(system.registered.size(), 4U);
    EXPECT_TRUE(isCompleted());
    EXPECT_EQ(Log::lines(), "");
}

TEST_F(FinderIntegrationTest, RegisteringAloneStoresNothing) {
    integration->registerExtension(false, true);
    waitForEnd();
    EXPECT_THAT(tools.runs("pluginkit"), ElementsAre(registering));
    EXPECT_THAT(system.stored, IsEmpty());
    EXPECT_FALSE(system.alert);
}

TEST_F(FinderIntegrationTest, IsConfirmedByTheThirdAttempt) {
    list({"", line("-", extension.path()), line("+", extension.path())});
    integration->enableFromMenu();
    waitForEnd();
    EXPECT_THAT(tools.runs("pluginkit"),
                ElementsAre(registering, enabling, listing, enabling, listing, enabling, listing));
    EXPECT_THAT(sleeps, ElementsAre(0.5, 1.0));
    EXPECT_TRUE(isCompleted());
    EXPECT_FALSE(system.alert);
}

TEST_F(FinderIntegrationTest, AtStartUpAFailureIsOnlyLogged) {
    const std::string elsewhere = line("+", "/opt/Tarnwick.app/Contents/PlugIns/TarnwickFinderSync.appex");
    list({elsewhere, elsewhere, elsewhere});
    integration->registerAtStartUp();
    waitForEnd();
    EXPECT_EQ(tools.runs("pluginkit").size(), 7U);
    EXPECT_THAT(sleeps, ElementsAre(0.5, 1.0));
    EXPECT_EQ(Log::lines(), std::string("Tarnwick Finder 注册失败：") + notConfirmed + "\n");
    EXPECT_FALSE(system.alert);
    EXPECT_THAT(system.stored, IsEmpty());
}

TEST_F(FinderIntegrationTest, FromTheMenuAFailureIsTold) {
    for (const bool isFirstButton : {false, true}) {
        integration->enableFromMenu();
        waitForEnd();
        ASSERT_TRUE(system.answer);
        EXPECT_EQ(system.alert->message, "Finder 右键菜单暂未启用");
        EXPECT_EQ(system.alert->informativeText,
                  QString("自动启用未通过系统校验。可打开系统设置检查扩展。\n") + notConfirmed);
        EXPECT_EQ(system.alert->firstButton, "打开系统设置");
        EXPECT_EQ(system.alert->secondButton, "稍后");
        EXPECT_EQ(system.managementsShown, 0);
        answer(isFirstButton);
        EXPECT_EQ(system.managementsShown, isFirstButton ? 1 : 0);
        EXPECT_FALSE(integration->isInProgress());
    }
    EXPECT_THAT(Log::lines(), HasSubstr("Tarnwick Finder 注册失败："));
    EXPECT_FALSE(isCompleted());
}

TEST_F(FinderIntegrationTest, ASecondRequestIsDroppedUntilTheFirstIsOver) {
    tools.script("pluginkit", {{"wait-for", (folder / "go").path()}});
    integration->registerExtension(false, true);
    integration->enableFromMenu();
    ASSERT_TRUE(waitUntil([this] { return !tools.runs("pluginkit").empty(); }));
    integration->enableFromMenu();
    folder.file("go", "");
    waitForEnd();
    EXPECT_THAT(tools.runs("pluginkit"), ElementsAre(registering));

    integration->enableFromMenu();
    waitForEnd();
    const std::size_t runs = tools.runs("pluginkit").size();
    integration->enableFromMenu();
    answer(false);
    EXPECT_EQ(tools.runs("pluginkit").size(), runs) << "nor while its alert is open";
    integration->enableFromMenu();
    EXPECT_TRUE(integration->isInProgress());
    waitForEnd();
    EXPECT_GT(tools.runs("pluginkit").size(), runs);
}

TEST_F(FinderIntegrationTest, AFailingToolFailsTheRun) {
    const std::map<int, std::string> names = {{1, "registering"}, {2, "enabling"}, {3, "listing"}};
    for (const auto& [run, name] : names) {
        FakeTools broken;
        broken.script("pluginkit", {});
        broken.scriptRun(run, "pluginkit", {{"error", "not allowed"}, {"status", "3"}});
        makeIntegration([](double, const Cancellation&) {}, broken.folder());
        integration->enableFromMenu();
        waitForEnd();
        ASSERT_TRUE(system.alert) << name;
        EXPECT_THAT(system.alert->informativeText.toStdString(),
                    HasSubstr("\n压缩组件运行失败：pluginkit（退出码 3）：not allowed"))
            << name;
        EXPECT_EQ(static_cast<int>(broken.runs("pluginkit").size()), run) << "what follows is left out";
        answer(false);
    }
}

TEST_F(FinderIntegrationTest, AToolThatHangsIsGivenTenSeconds) {
    tools.script("pluginkit", {{"hang"}});
    const auto start = Clock::now();
    integration->registerExtension(false, false);
    waitForEnd();
    const std::chrono::duration<double> taken = Clock::now() - start;
    EXPECT_GE(taken.count(), 10.0);
    EXPECT_LT(taken.count(), 15.0);
    EXPECT_EQ(Log::lines(), "Tarnwick Finder 注册失败：压缩组件运行失败：pluginkit 超时\n");
}

TEST_F(FinderIntegrationTest, AnIncompleteBundleIsNotRegistered) {
    for (const URL& part : {extension, helper}) {
        std::filesystem::remove(part.path());
        integration->registerExtension(false, true);
        waitForEnd();
        ASSERT_TRUE(system.answer);
        EXPECT_THAT(system.alert->informativeText.toStdString(),
                    HasSubstr("\n安装包缺少 Finder 扩展或后台压缩组件。"));
        answer(false);
        createDirectories(part);
    }
    EXPECT_THAT(system.registered, IsEmpty());
    EXPECT_THAT(tools.runs("pluginkit"), IsEmpty());
    tools.remove("pluginkit");
    integration->registerExtension(false, false);
    waitForEnd();
    EXPECT_THAT(Log::lines(), HasSubstr("缺少压缩组件：pluginkit"));
}

TEST_F(FinderIntegrationTest, QuittingEndsARun) {
    using namespace std::chrono_literals;
    tools.script("pluginkit", {{"hang"}});
    integration->enableFromMenu();
    ASSERT_TRUE(waitUntil([this] { return !tools.runs("pluginkit").empty(); }));
    auto start = Clock::now();
    integration.reset();
    EXPECT_LT(Clock::now() - start, 5s);

    tools.script("pluginkit", {});
    std::atomic<bool> isAsleep = false;
    makeIntegration(
        [&](double, const Cancellation& cancellation) {
            isAsleep = true;
            sleepUnlessCancelled(60, cancellation);
        },
        tools.folder());
    integration->enableFromMenu();
    ASSERT_TRUE(waitUntil([&] { return isAsleep.load(); }));
    start = Clock::now();
    integration.reset();
    EXPECT_LT(Clock::now() - start, 5s);
    QCoreApplication::processEvents();
    EXPECT_FALSE(system.alert);
    EXPECT_EQ(Log::lines(), "") << "to be stopped is no failure";
}

TEST(FinderRegistrationTest, OnlyAnEnabledExtensionAtItsPlaceConfirms) {
    const auto confirms = [](const char* pattern) {
        const QString place = "/opt/Tarn wick.app/TarnwickFinderSync.appex";
        const QString listing = QString(pattern).replace("NAME", identifier).replace("PLACE", place);
        return confirmsExtension(listing.toStdString(), identifier, URL::file(place.toStdString()));
    };
    for (const char* listing : {
             "+    NAME(1.0)\tA1\tPLACE",
             "+NAME(1.0)\tA1\tPLACE",
             " \t+\tNAME(1.0)\tA1\tPLACE\r\n",
             "-    NAME(0.9)\tA1\tPLACE\n+    NAME(1.0)\tA2\tPLACE\n (2 plug-ins)\n",
             "\n\n+ NAME(1.0)\tA1\tPLACE",
         }) {
        EXPECT_TRUE(confirms(listing)) << listing;
    }
    for (const char* listing : {
             "",
             "     NAME(1.0)\tA1\tPLACE",
             "-    NAME(1.0)\tA1\tPLACE",
             "!+   NAME(1.0)\tA1\tPLACE",
             "+    NAMEr(1.0)\tA1\tPLACE",
             "+    NAME (1.0)\tA1\tPLACE",
             "+    NAME",
             "+    an.otherNAME(1.0)\tA1\tPLACE",
             "+    an.other(1.0)\tA1\tPLACE\nNAME(1.0)\tA1\tPLACE",
             "+    NAME(1.0)\nA1\tPLACE",
             "+    NAME(1.0)\tA1\t/home/me/Tarn wick.app/TarnwickFinderSync.appex",
         }) {
        EXPECT_FALSE(confirms(listing)) << listing;
    }
    EXPECT_TRUE(confirmsExtension("+ an.extension(1)\t/opt/\uFFFD/it.appex", "an.extension",
                                  URL::file("/opt/\xFF/it.appex")));
}

TEST(SleepUnlessCancelledTest, SleepsItsTimeUnlessCancelled) {
    const auto start = Clock::now();
    sleepUnlessCancelled(0.05, {});
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(50));
    const Cancellation cancellation = Cancellation::make();
    cancellation.request();
    EXPECT_THROW(sleepUnlessCancelled(60, cancellation), Cancelled);
}

} // namespace
} // namespace tarnwick::test
