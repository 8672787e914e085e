#include "platform/process/ChildFolder.h"

#include "platform/process/ChildProcess.h"
#include "tests/fakes/ChildProcess.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/platform/process/Shell.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <utility>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

class ChildFolderTest : public testing::Test {
protected:
    ChildFolderTest() {
        // Open to the child's user, as the system's temporary folder is.
        fs::permissions(base.path(), fs::perms::all);
    }
    ChildEnd runIn(const ChildFolder& folder, const std::string& script) const {
        ChildCommand command = shell(script);
        command.workingFolder = folder.path();
        auto end = runChild(command, longEnough);
        EXPECT_TRUE(end) << end.error().reason;
        return end ? std::move(*end) : ChildEnd{};
    }
    [[nodiscard]] FileResult<ChildFolder> create() const {
        return ChildFolder::create(ChildUser::withoutPrivileges(), base.path());
    }

    const TemporaryFolder base;
};

TEST_F(ChildFolderTest, IsTheChildsOwnAndGoesAway) {
    {
        const auto folder = create();
        ASSERT_TRUE(folder) << folder.error().reason;
        const ChildEnd end = runIn(*folder, "mkdir a && echo text > a/b && cat a/b");
        EXPECT_EQ(end.output, "text\n") << end.errors;
        EXPECT_EQ(fs::status(folder->path()).permissions(), fs::perms::owner_all);
    }
    EXPECT_THAT(base.names(), IsEmpty());
}

TEST_F(ChildFolderTest, HoldsFilesThatWereGivenToTheChild) {
    const auto folder = create();
    ASSERT_TRUE(folder) << folder.error().reason;
    const auto made = folder->makeFolder("made");
    ASSERT_TRUE(made) << made.error().reason;
    writeFile(*made / "input", "input");
    fs::permissions(*made / "input", fs::perms::owner_read | fs::perms::owner_write);
    ASSERT_TRUE(folder->giveToChild(*made / "input"));
    EXPECT_EQ(runIn(*folder, "cat made/input; echo x > made/output && echo fine").output,
              "inputfine\n");
    EXPECT_FALSE(folder->makeFolder("made"));
    EXPECT_FALSE(folder->giveToChild(*made / "gone").has_value() &&
                 ChildUser::withoutPrivileges().has_value());
}

TEST_F(ChildFolderTest, ThatAKilledRunLeftGoesAtTheNextStart) {
    {
        HeldChild killed([&](const HeldChild::Hold& hold) {
            const auto folder = create();
            if (folder) {
                static_cast<void>(runIn(*folder, "mkdir -p a/b && echo x > a/b/c"));
                hold();
            }
        });
        killed.kill();
    }
    EXPECT_EQ(base.names().size(), 1U);
    {
        const auto next = create();
        ASSERT_TRUE(next) << next.error().reason;
        EXPECT_EQ(base.names().size(), 1U);
    }
    EXPECT_THAT(base.names(), IsEmpty());
}

TEST_F(ChildFolderTest, NeedsAPlace) {
    EXPECT_FALSE(ChildFolder::create(std::nullopt, base / "nowhere"));
}

} // namespace
} // namespace quillorn::tests
