#include "Foundation/Environment.h"
#include "Support/EnvironmentVariable.h"

#include <gtest/gtest.h>

#include <array>

namespace tarnwick::test {
namespace {

using Values = std::array<const char*, 3>;

TEST(EnvironmentTest, ChoosesUTF8WhereTheLocaleIsNot) {
    struct Case {
        /// LC_ALL, LC_CTYPE, LANG; empty is as good as unset.
        Values given;
        Values chosen;
    };
    for (const auto& [given, chosen] : {
             Case{{"", "", ""}, {"", "C.UTF-8", ""}},
             Case{{"", "", "C.UTF-8"}, {"", "", "C.UTF-8"}},
             Case{{"", "POSIX", "C.UTF-8"}, {"", "C.UTF-8", "C.UTF-8"}},
             Case{{"C.UTF-8", "C", "C"}, {"C.UTF-8", "C", "C"}},
             Case{{"C", "", "C.UTF-8"}, {"C.UTF-8", "C.UTF-8", "C.UTF-8"}},
             Case{{"", "", "xx_XX.UTF-8"}, {"C.UTF-8", "C.UTF-8", "xx_XX.UTF-8"}},
         }) {
        const EnvironmentVariable all("LC_ALL", given[0]);
        const EnvironmentVariable type("LC_CTYPE", given[1]);
        const EnvironmentVariable language("LANG", given[2]);
        prepareEnvironment();
        const Values found = {std::getenv("LC_ALL"), std::getenv("LC_CTYPE"), std::getenv("LANG")};
        for (std::size_t i = 0; i < found.size(); ++i) {
            EXPECT_STREQ(found[i], chosen[i]) << given[0] << "|" << given[1] << "|" << given[2];
        }
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
