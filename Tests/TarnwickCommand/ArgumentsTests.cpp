#include "Support/EnvironmentVariable.h"
#include "Support/RunCommand.h"
#include "TarnwickCommand/Arguments.h"

#include <gmock/gmock.h>

#include <string>
#include <variant>
#include <vector>

namespace tarnwick::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

Invocation invocation(const Words& words) {
    const auto parsed = parseArguments(words);
    const auto* reply = std::get_if<Reply>(&parsed);
    EXPECT_EQ(reply, nullptr) << reply->text;
    return reply == nullptr ? std::get<Invocation>(parsed) : Invocation();
}

TEST(Arguments, AllowOptionsBeforeAndAfterTheSubcommand) {
    const Invocation before = invocation({"--tools", "T", "--store=a=b", "compress", "--json", "x"});
    EXPECT_EQ(before.toolDirectory, "T");
    EXPECT_EQ(before.store, "a=b");
    EXPECT_TRUE(before.json);
    const Invocation after =
        invocation({"restore", "x", "--store", "history", "y", "--tools", "T", "--tools", "U"});
    EXPECT_EQ(after.command, Invocation::Command::restore);
    EXPECT_EQ(after.store, "history");
    EXPECT_EQ(after.toolDirectory, "U");
    EXPECT_THAT(after.operands, ElementsAre("x", "y"));
    EXPECT_TRUE(invocation({"clear", "--yes"}).isConfirmed);
    EXPECT_TRUE(invocation({"compress", "x", "--again"}).isAgain);
}

TEST(Arguments, TakeFileNamesLiterally) {
    EXPECT_THAT(
        invocation({"compress", "[2024]", "[a,b]", "++", "%%", "{}", "-", "compress", "\xFF", "\x1fx"})
            .operands,
        ElementsAre("[2024]", "[a,b]", "++", "%%", "{}", "-", "compress", "\xFF", "\x1fx"));
    EXPECT_THAT(invocation({"compress", "a", "--", "-b.png", "--json", "--", "[x]"}).operands,
                ElementsAre("a", "-b.png", "--json", "--", "[x]"));
}

TEST(Arguments, ReportMisuseInChineseWithStatus2) {
    const std::pair<Words, const char*> cases[] = {
        {{}, "缺少子命令"},
        {{"bogus"}, "未知的子命令：bogus"},
        {{"--", "compress", "a"}, "未知的子命令：compress"},
        {{"--bogus"}, "未知选项：--bogus"},
        {{"compress", "--bogus=\x1b[1m", "a"}, "未知选项：--bogus"},
        {{"compress", "-x\x1b[1m"}, "未知选项：-x\uFFFD[1m"},
        {{"delete", "--json", "x"}, "未知选项：--json"},
        {{"compress"}, "缺少参数：路径"},
        {{"delete"}, "缺少参数：记录"},
        {{"history", "extra"}, "多余的参数：extra"},
        {{"compress", "a", "--tools"}, "选项 --tools 缺少值"},
        {{"compress", "--store", "--json", "a"}, "选项 --store 缺少值"},
        {{"compress", "--tools=", "a"}, "选项 --tools 缺少值"},
        {{"compress", "--json=false", "a"}, "选项 --json 不带值"},
        {{"--version=x"}, "选项 --version 不带值"},
    };
    for (const auto& [words, message] : cases) {
        const auto parsed = parseArguments(words);
        const auto* reply = std::get_if<Reply>(&parsed);
        ASSERT_NE(reply, nullptr) << message;
        EXPECT_EQ(reply->text, std::string("tarnwick：") + message + "\n用 tarnwick --help 查看用法。\n");
        EXPECT_EQ(reply->status, ExitStatus::wrongUsage);
    }
}

TEST(Arguments, HelpIsCompleteAndInChinese) {
    const auto helpOf = [](const char* word) { return std::get<Reply>(parseArguments({word, "-h"})).text; };
    for (const char* command :
         {"--help", "compress", "inspect", "history", "restore", "delete", "clear", "maintain"}) {
        EXPECT_THAT(helpOf(command), AllOf(HasSubstr("用法: tarnwick"), HasSubstr("-h,--help")));
        EXPECT_THAT(helpOf(command), Not(testing::ContainsRegex("Usage|Options|OPTIONS|Positionals|"
                                                                "Subcommands|REQUIRED|TEXT|Print")));
        EXPECT_THAT(helpOf("--help"), HasSubstr(command));
    }
    EXPECT_THAT(helpOf("--help"), AllOf(HasSubstr("--tools 目录"), HasSubstr("--store 目录")));
}

TEST(Arguments, TheProgramUsesTheRightStreamAndStatus) {
    const auto version = runCommand({"compress", "--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.output, testing::MatchesRegex("tarnwick [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    const EnvironmentVariable cage("TARNWICK_TOOL_CAGE", "off");
    EXPECT_THAT(runCommand({"--version", "--json"}).output,
                testing::MatchesRegex("\\{\"version\":\"[0-9.]+\",\"landlock\":0,\"seccomp\":false\\}\n"));
    const auto misuse = runCommand({"bogus"});
    EXPECT_EQ(misuse.status, 2);
    EXPECT_EQ(misuse.output, "");
    EXPECT_THAT(misuse.errors, HasSubstr("未知的子命令：bogus"));
}

} // namespace
} // namespace tarnwick::test
