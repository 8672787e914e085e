#include "platform/process/ChildFolder.h"
#include "platform/process/ChildProcess.h"
#include "tests/fakes/MemoryLimit.h"
#include "tests/fakes/Program.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/platform/process/Shell.h"

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <utility>

namespace quillorn::tests {
namespace {

using How = ChildEnd::How;
using testing::HasSubstr;

ChildEnd run(const ChildCommand& command) {
    auto end = runChild(command, longEnough);
    EXPECT_TRUE(end) << end.error().file << ": " << end.error().reason;
    return end ? std::move(*end) : ChildEnd{};
}

TEST(ChildLimits, MemoryEndsWhereTheLimitIs) {
    ChildCommand command;
    command.arguments = {"/usr/bin/python3", "-c", "print(len(bytearray(300 << 20)))"};
    EXPECT_EQ(run(command).output, "314572800\n");
    command.limits.dataBytes = 200U << 20U;
    const ChildEnd end = run(command);
    EXPECT_FALSE(end.isSuccess());
    EXPECT_THAT(end.errors, HasSubstr("MemoryError"));
}

TEST(ChildLimits, WhatThisProgramAllowsItselfIsNotItsChildrensLimit) {
    const MemoryLimit ours(std::uint64_t{1} << 50U); // the sanitizers reserve a lot
    EXPECT_TRUE(run(shell("[ $(ulimit -S -d) = $(ulimit -H -d) ]")).isSuccess());
    ChildCommand command = shell("ulimit -S -d; ulimit -H -d");
    command.limits.dataBytes = std::uint64_t{2} << 30U;
    EXPECT_EQ(run(command).output, "2097152\n2097152\n"); // kilobytes
}

TEST(ChildLimits, ProcessorTimeEnds) {
    ChildCommand command = shell("while :; do :; done");
    command.limits.cpuSeconds = 1;
    const ChildEnd end = run(command);
    EXPECT_EQ(end.how, How::killed);
    EXPECT_THAT(end.status, testing::AnyOf(SIGKILL, SIGXCPU));
}

TEST(ChildLimits, FilesStopGrowing) {
    const auto folder = ChildFolder::create();
    ASSERT_TRUE(folder) << folder.error().reason;
    ChildCommand command = shell("head -c 100000 /dev/zero > big");
    command.workingFolder = folder->path();
    command.limits.fileBytes = 4096;
    EXPECT_FALSE(run(command).isSuccess());
    EXPECT_EQ(std::filesystem::file_size(folder->path() / "big"), 4096U);
}

TEST(ChildLimits, NoMemoryImageIsLeft) {
    EXPECT_EQ(run(shell("ulimit -c")).output, "0\n");
}

TEST(ChildLimits, TheNetworkIsOutOfReachWhereTheSystemGrantsThat) {
    const bool isRoot = ::geteuid() == 0;
    const bool isGranted = Program("unshare", {isRoot ? "--net" : "--map-current-user",
                                               isRoot ? "--" : "--net", "true"})
                               .run()
                               .status == 0;
    // A line for each way out, below two lines of heading.
    ChildCommand command = shell("sed 1,2d /proc/net/dev | cut -d: -f1 | tr -d ' '; id -u");
    const std::string with = run(command).output;
    command.network = false;
    const std::string without = run(command).output;
    const std::string user = with.substr(with.rfind('\n', with.size() - 2) + 1);
    EXPECT_EQ(without, isGranted ? "lo\n" + user : with);
}

TEST(ChildUser, HasNoPrivilegesWhateverOursAre) {
    const std::string users = run(shell("id -u; id -ru; id -g; id -G")).output;
    if (::geteuid() == 0) {
        const auto nobody = ChildUser::withoutPrivileges();
        ASSERT_TRUE(nobody);
        const std::string user = std::to_string(nobody->user) + "\n";
        const std::string group = std::to_string(nobody->group) + "\n";
        EXPECT_EQ(users, user + user + group + group);
        EXPECT_NE(nobody->user, 0U);
    } else {
        EXPECT_FALSE(ChildUser::withoutPrivileges());
        EXPECT_EQ(users.substr(0, users.find('\n')), std::to_string(::geteuid()));
    }
}

TEST(ChildUser, CannotGetPrivilegesBack) {
    ChildCommand command;
    command.arguments = {"/usr/bin/python3", "-c",
                         "import os\ntry:\n os.setuid(0)\nexcept OSError as e: print(e.strerror)"};
    EXPECT_EQ(run(command).output, "Operation not permitted\n");
}

} // namespace
} // namespace quillorn::tests
