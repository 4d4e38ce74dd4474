#include "Foundation/CompressionError.h"
#include "Process/Cage.h"
#include "Process/ToolRunner.h"
#include "Support/FakeTools.h"

#include <gmock/gmock.h>

#include <ostream>

namespace tarnwick::test {
namespace {

constexpr auto cageVariable = "TARNWICK_TOOL_CAGE";

/// What the kernel must have to refuse a deed.
enum class Needs { nothing, landlock, seccomp };

struct Attempt {
    const char* deed;
    /// In the folder of the picture; the tool works in the folder "work" there.
    const char* file;
    Needs needs;
    const char* outcome;
};

std::ostream& operator<<(std::ostream& stream, const Attempt& attempt) {
    return stream << attempt.deed << " " << attempt.file;
}

bool isSupported(Needs needs) {
    const EnvironmentVariable wanted(cageVariable, std::nullopt);
    const Cage::Features features = Cage::features();
    return needs == Needs::landlock ? features.landlock > 0 : needs != Needs::seccomp || features.seccomp;
}

class CageTest : public testing::TestWithParam<Attempt> {
protected:
    CageTest() {
        createDirectories(folder_ / "work");
        folder_.file("secret", "key");
        tools_.script("oxipng", {{"attempt", GetParam().deed, (folder_ / GetParam().file).path()}});
    }

    /// The tool's output, or the text of the error. The fake tool needs its own folder, too.
    std::string outcome() const {
        folder_.file("picture", "pixels");
        const CageRules rules = {
            .files = {{.readable = {folder_ / "picture"}, .writable = {folder_ / "work", tools_.folder()}}},
            .largestFile = 1 << 20};
        try {
            return ToolRunner(tools_.folder()).confinedTo(rules).run("oxipng", {}, 60, 1 << 20);
        } catch (const CompressionError& error) {
            return error.errorDescription();
        }
    }

    const FakeTools tools_;
    const TemporaryFolder folder_;
};

TEST_P(CageTest, GivesAToolWhatItsWorkNeedsAndNothingElse) {
    if (!isSupported(GetParam().needs)) {
        GTEST_SKIP() << "the kernel cannot refuse this";
    }
    EXPECT_EQ(outcome(), "done") << "refused without a cage, too";
    removeFile(folder_ / "work/output");
    const EnvironmentVariable wanted(cageVariable, std::nullopt);
    EXPECT_THAT(outcome(), testing::EndsWith(GetParam().outcome));
    EXPECT_EQ(contents(folder_ / "picture"), "pixels");
}

INSTANTIATE_TEST_SUITE_P(Cage, CageTest,
                         testing::ValuesIn(std::initializer_list<Attempt>{
                             {"read", "picture", Needs::nothing, "done"},
                             {"create", "work/output", Needs::nothing, "done"},
                             {"thread", "", Needs::nothing, "done"},
                             {"raise", "", Needs::nothing, "done"},
                             {"read", "secret", Needs::landlock, "Permission denied"},
                             {"read", ".", Needs::landlock, "Permission denied"},
                             {"write", "picture", Needs::landlock, "Permission denied"},
                             {"remove", "picture", Needs::landlock, "Permission denied"},
                             {"create", "beside", Needs::landlock, "Permission denied"},
                             {"truncate", "picture", Needs::seccomp, "Operation not permitted"},
                             {"truncate-to-read", "picture", Needs::seccomp, "Operation not permitted"},
                             {"truncate-only", "picture", Needs::seccomp, "Operation not permitted"},
                             {"protect", "picture", Needs::seccomp, "Operation not permitted"},
                             {"link", "work/output", Needs::seccomp, "Operation not permitted"},
                             {"shell", "", Needs::seccomp, "Operation not permitted"},
                             {"fork", "", Needs::seccomp, "Operation not permitted"},
                             {"socket", "", Needs::seccomp, "Operation not permitted"},
                             {"signal", "", Needs::seccomp, "Operation not permitted"},
                             {"limit", "", Needs::seccomp, "Operation not permitted"},
                             {"trace", "", Needs::seccomp, "Operation not permitted"},
                             {"fill", "work/output", Needs::nothing, "（退出码 25）：写出的文件过大"},
                             {"allocate", "", Needs::nothing, "Cannot allocate memory"},
                         }));

} // namespace
} // namespace tarnwick::test
