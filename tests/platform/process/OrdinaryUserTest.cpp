#include "tests/fakes/ChildProcess.h"
#include "tests/fakes/Program.h"
#include "tests/fakes/TemporaryFolder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace quillorn::tests {
namespace {

TEST(OrdinaryUser, RunsChildrenAsRootDoes) {
    // This very program with its keeper, where anybody may come.
    const TemporaryFolder folder;
    const std::filesystem::path copy = folder / "tests";
    std::filesystem::copy_file(std::filesystem::read_symlink("/proc/self/exe"), copy);
    std::filesystem::copy_file(QUILLORN_KEEPER,
                               folder / std::filesystem::path(QUILLORN_KEEPER).filename().string());
    giveToOrdinaryUser(folder.path());
    const ProgramResult result =
        Program(copy.string(), {"--gtest_filter=Child*:KeptChild*", "--gtest_brief=1"})
            .asOrdinaryUser()
            .run();
    EXPECT_EQ(result.status, 0) << result.output << result.errors;
    EXPECT_THAT(result.output, testing::HasSubstr("[  PASSED  ]"));
    EXPECT_THAT(result.output, testing::Not(testing::HasSubstr("0 tests")));
}

} // namespace
} // namespace quillorn::tests
