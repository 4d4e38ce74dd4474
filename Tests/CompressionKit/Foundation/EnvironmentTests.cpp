#include "Foundation/Environment.h"
#include "Support/EnvironmentVariable.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

namespace tarnwick::test {
namespace {

using Values = std::array<std::string, 3>;

TEST(EnvironmentTest, ChoosesUTF8WhereTheLocaleIsNot) {
    // LC_ALL, LC_CTYPE, LANG; empty is as good as unset.
    for (const auto& [given, chosen] : std::initializer_list<std::pair<Values, Values>>{
             {{"", "", ""}, {"", "C.UTF-8", ""}},
             {{"", "", "C.UTF-8"}, {"", "", "C.UTF-8"}},
             {{"", "POSIX", "C.UTF-8"}, {"", "C.UTF-8", "C.UTF-8"}},
             {{"C.UTF-8", "C", "C"}, {"C.UTF-8", "C", "C"}},
             {{"C", "", "C.UTF-8"}, {"C.UTF-8", "C.UTF-8", "C.UTF-8"}},
             {{"", "", "xx_XX.UTF-8"}, {"C.UTF-8", "C.UTF-8", "xx_XX.UTF-8"}},
         }) {
        const EnvironmentVariable all("LC_ALL", given[0]);
        const EnvironmentVariable type("LC_CTYPE", given[1]);
        const EnvironmentVariable language("LANG", given[2]);
        prepareEnvironment();
        const Values found = {std::getenv("LC_ALL"), std::getenv("LC_CTYPE"), std::getenv("LANG")};
        EXPECT_EQ(found, chosen);
    }
}

TEST(EnvironmentTest, ThreadsOfToolsWaitWithoutSpinningUnlessTheUserChose) {
    {
        const EnvironmentVariable unset("OMP_WAIT_POLICY", std::nullopt);
        prepareEnvironment();
        EXPECT_STREQ(std::getenv("OMP_WAIT_POLICY"), "passive");
    }
    const EnvironmentVariable chosen("OMP_WAIT_POLICY", "active");
    prepareEnvironment();
    EXPECT_STREQ(std::getenv("OMP_WAIT_POLICY"), "active");
}

TEST(EnvironmentTest, NoFileTakesTheDescriptorOfAClosedStandardStream) {
    for (const auto& closed : std::initializer_list<std::vector<int>>{{0}, {1}, {2}, {0, 2}, {0, 1, 2}}) {
        const pid_t child = ::fork();
        if (child == 0) {
            std::for_each(closed.begin(), closed.end(), ::close);
            prepareEnvironment();
            const bool canPrint = ::write(closed.back(), "x", 1) == 1;
            ::_exit(::open("/dev/null", O_RDONLY) > STDERR_FILENO && canPrint == (closed.back() == 0) ? 0
                                                                                                      : 1);
        }
        int status = -1;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << closed.size() << " streams from " << closed.front();
    }
}

} // namespace
} // namespace tarnwick::test
