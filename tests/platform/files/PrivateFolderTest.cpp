#include "platform/files/PrivateFolder.h"
#include "tests/fakes/ChildProcess.h"
#include "tests/fakes/TemporaryFolder.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace quillorn {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

std::string prefix() {
    return "quillorn-folivane-" + std::to_string(::geteuid()) + "-";
}

/// A program that was killed while it had a private folder with a file in it.
void leaveAFolderBehind(const fs::path& base) {
    tests::HeldChild program([&base](const tests::HeldChild::Hold& hold) {
        const auto folder = PrivateFolder::create(base);
        if (folder) {
            fs::create_directory(folder->path() / "sub");
            tests::writeFile(folder->path() / "sub" / "work.pdf", "content");
            hold();
        }
    });
    program.kill();
}

void makeOld(const fs::path& path) {
    struct timespec times[2] = {{std::time(nullptr) - 3600, 0}, {std::time(nullptr) - 3600, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

TEST(PrivateFolder, BelongsToItsUserAlone) {
    const tests::TemporaryFolder base;
    const auto folder = PrivateFolder::create(base.path());
    ASSERT_TRUE(folder.has_value());
    struct stat status {};
    ASSERT_EQ(::stat(folder->path().c_str(), &status), 0);
    EXPECT_TRUE(S_ISDIR(status.st_mode));
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    EXPECT_EQ(folder->path().parent_path(), base.path());
}

TEST(PrivateFolder, IsGoneAtTheEndWithEverythingInIt) {
    const tests::TemporaryFolder base;
    {
        const auto folder = PrivateFolder::create(base.path());
        ASSERT_TRUE(folder.has_value());
        fs::create_directories(folder->path() / "a" / "b");
        tests::writeFile(folder->path() / "a" / "b" / "c.pdf", "content");
        EXPECT_EQ(base.names().size(), 1U);
    }
    EXPECT_EQ(base.names(), Names{});
}

TEST(PrivateFolder, DoesNotTakeAlongWhatItsLinksPointAt) {
    const tests::TemporaryFolder base;
    const tests::TemporaryFolder other;
    tests::writeFile(other / "precious", "content");
    {
        const auto folder = PrivateFolder::create(base.path());
        ASSERT_TRUE(folder.has_value());
        fs::create_directory_symlink(other.path(), folder->path() / "link");
    }
    EXPECT_EQ(base.names(), Names{});
    EXPECT_EQ(other.names(), Names{"precious"});
}

TEST(PrivateFolder, LivesOnInTheObjectItWasMovedTo) {
    const tests::TemporaryFolder base;
    std::optional<PrivateFolder> owner;
    {
        auto folder = PrivateFolder::create(base.path());
        ASSERT_TRUE(folder.has_value());
        owner.emplace(std::move(*folder));
    }
    EXPECT_EQ(base.names().size(), 1U);
    PrivateFolder::sweep(base.path());
    EXPECT_TRUE(fs::is_directory(owner->path()));
    owner.reset();
    EXPECT_EQ(base.names(), Names{});
}

TEST(PrivateFolder, OfAKilledProgramIsSweptByTheNext) {
    const tests::TemporaryFolder base;
    leaveAFolderBehind(base.path());
    leaveAFolderBehind(base.path());
    EXPECT_EQ(base.names().size(), 1U) << "the second program sweeps after the first";
    const auto folder = PrivateFolder::create(base.path());
    ASSERT_TRUE(folder.has_value());
    EXPECT_EQ(base.names(), Names{folder->path().filename().string()});
}

TEST(PrivateFolder, OfALivingProgramIsNotSwept) {
    const tests::TemporaryFolder base;
    tests::HeldChild program([&base](const tests::HeldChild::Hold& hold) {
        const auto folder = PrivateFolder::create(base.path());
        if (folder) {
            makeOld(folder->path());
            hold();
        }
    });
    const Names names = base.names();
    ASSERT_EQ(names.size(), 1U);
    PrivateFolder::sweep(base.path());
    { const auto mine = PrivateFolder::create(base.path()); }
    EXPECT_EQ(base.names(), names);
}

TEST(PrivateFolder, SweepingTouchesNoOtherNames) {
    const tests::TemporaryFolder base;
    const Names names = {"other", "quillorn-folivane",
                         "quillorn-folivane-" + std::to_string(::geteuid()),
                         "quillorn-folivane-999999-abcdef"};
    for (const std::string& name : names) {
        fs::create_directory(base / name);
        tests::writeFile(base / name / ".lock", "");
        makeOld(base / name);
    }
    PrivateFolder::sweep(base.path());
    EXPECT_EQ(base.names(), names);
}

TEST(PrivateFolder, SweepingFollowsNoLinkAndRemovesNoFile) {
    const tests::TemporaryFolder base;
    const tests::TemporaryFolder other;
    tests::writeFile(other / ".lock", "");
    makeOld(other.path());
    fs::create_directory_symlink(other.path(), base / (prefix() + "link00"));
    tests::writeFile(base / (prefix() + "file00"), "content");
    makeOld(base / (prefix() + "file00"));
    const Names names = base.names();
    PrivateFolder::sweep(base.path());
    EXPECT_EQ(base.names(), names);
    EXPECT_EQ(other.names(), Names{".lock"});
}

TEST(PrivateFolder, SweepingTakesNoLinkForALock) {
    const tests::TemporaryFolder base;
    tests::writeFile(base / "elsewhere", "");
    const fs::path folder = base / (prefix() + "abcdef");
    fs::create_directory(folder);
    fs::create_symlink(base / "elsewhere", folder / ".lock");
    makeOld(folder);
    PrivateFolder::sweep(base.path());
    EXPECT_TRUE(fs::exists(folder));
}

TEST(PrivateFolder, InTheMakingIsLeftAloneUntilItIsOld) {
    const tests::TemporaryFolder base;
    const fs::path folder = base / (prefix() + "abcdef");
    fs::create_directory(folder);
    PrivateFolder::sweep(base.path());
    EXPECT_TRUE(fs::exists(folder));
    makeOld(folder);
    PrivateFolder::sweep(base.path());
    EXPECT_FALSE(fs::exists(folder));
}

TEST(PrivateFolder, OfManyProgramsStartingAtOnceAreAllKept) {
    // Threads stand for programs: their descriptors lock each other out just the same.
    const tests::TemporaryFolder base;
    constexpr int programs = 4;
    std::vector<std::string> outcomes(programs);
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < programs; ++i) {
            threads.emplace_back([&, i]() {
                for (int round = 0; round < 100 && outcomes[i].empty(); ++round) {
                    const auto folder = PrivateFolder::create(base.path());
                    if (!folder) {
                        outcomes[i] = folder.error().reason;
                    } else if (!fs::exists(folder->path() / ".lock")) {
                        outcomes[i] = "swept while it was in use";
                    }
                }
            });
        }
    }
    EXPECT_EQ(outcomes, std::vector<std::string>(programs));
    EXPECT_EQ(base.names(), Names{});
}

TEST(PrivateFolder, CannotBeMadeInAMissingFolder) {
    const tests::TemporaryFolder base;
    const auto folder = PrivateFolder::create(base / "missing");
    ASSERT_FALSE(folder.has_value());
    EXPECT_EQ(folder.error().file, base / "missing");
    PrivateFolder::sweep(base / "missing");
}

TEST(PrivateFolder, StandsInTheTemporaryFolderOfTheEnvironment) {
    const tests::TemporaryFolder base;
    EXPECT_EQ(tests::inChild([&base]() -> std::string {
                  ::setenv("TMPDIR", base.path().c_str(), 1);
                  return PrivateFolder::defaultBase().string();
              }),
              base.path().string());
    EXPECT_EQ(tests::inChild([&base]() -> std::string {
                  ::setenv("TMPDIR", (base / "missing").c_str(), 1);
                  return PrivateFolder::defaultBase().string();
              }),
              "/tmp");
}

} // namespace
} // namespace quillorn
