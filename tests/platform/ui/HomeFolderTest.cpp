#include "platform/ui/HomeFolder.h"

#include "tests/fakes/Environment.h"

#include <gtest/gtest.h>
#include <optional>
#include <pwd.h>
#include <unistd.h>

namespace quillorn {
namespace {

TEST(HomeFolder, IsWhatTheEnvironmentSays) {
    const tests::EnvironmentVariable home("HOME", "/somewhere/else");
    EXPECT_EQ(homeFolder(), "/somewhere/else");
}

TEST(HomeFolder, ComesFromTheUserListWhenTheEnvironmentIsSilent) {
    const struct passwd* const user = ::getpwuid(::getuid());
    ASSERT_NE(user, nullptr);
    const std::string expected = user->pw_dir;
    {
        const tests::EnvironmentVariable home("HOME", std::nullopt);
        EXPECT_EQ(homeFolder(), expected);
    }
    {
        const tests::EnvironmentVariable home("HOME", "");
        EXPECT_EQ(homeFolder(), expected);
    }
}

} // namespace
} // namespace quillorn
