#include "Foundation/Environment.h"
#include "Support/EnvironmentVariable.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <utility>

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

} // namespace
} // namespace tarnwick::test
