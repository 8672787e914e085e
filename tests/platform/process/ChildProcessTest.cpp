#include "platform/process/ChildProcess.h"

#include "tests/fakes/Environment.h"
#include "tests/fakes/Program.h"
#include "tests/platform/process/Shell.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stop_token>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace quillorn::tests {
namespace {

using How = ChildEnd::How;
using testing::HasSubstr;
using testing::Not;

ChildEnd run(const ChildCommand& command) {
    auto end = runChild(command, longEnough);
    EXPECT_TRUE(end) << end.error().file << ": " << end.error().reason;
    return end ? std::move(*end) : ChildEnd{};
}

TEST(ChildProcess, TellsItsStatusAndWhatItSaid) {
    const ChildEnd end = run(shell("echo result; echo trouble >&2; exit 7"));
    EXPECT_EQ(end.how, How::exited);
    EXPECT_EQ(end.status, 7);
    EXPECT_EQ(end.output, "result\n");
    EXPECT_EQ(end.errors, "trouble\n");
    EXPECT_TRUE(end.isOutputWhole && end.isErrorsWhole);
    EXPECT_FALSE(end.isSuccess());
    EXPECT_EQ(end.text(), "it ended with status 7");
    EXPECT_TRUE(run(shell("exit 0")).isSuccess());
}

TEST(ChildProcess, GetsItsArgumentsAsTheyAre) {
    ChildCommand command;
    command.arguments = {"/usr/bin/printf", "[%s]", "a b", "$HOME", "*", "", "'\";&|", "\n"};
    EXPECT_EQ(run(command).output, "[a b][$HOME][*][]['\";&|][\n]");
}

TEST(ChildProcess, GetsOnlyTheVariablesThatItNeeds) {
    const EnvironmentVariable secret("QUILLORN_SECRET", "secret");
    const EnvironmentVariable preload("LD_LIBRARY_PATH", "/nowhere");
    const EnvironmentVariable language("LC_PAPER", "C.UTF-8");
    ChildCommand command;
    command.arguments = {"/usr/bin/env"};
    command.environment = {{"HOME", "/its home"}};
    const std::string variables = run(command).output;
    EXPECT_THAT(variables, HasSubstr("HOME=/its home\n"));
    EXPECT_THAT(variables, HasSubstr("LC_PAPER=C.UTF-8\n"));
    EXPECT_THAT(variables, Not(HasSubstr("SECRET")));
    EXPECT_THAT(variables, Not(HasSubstr("LD_LIBRARY_PATH")));
}

TEST(ChildProcess, GetsNoneOfOurFiles) {
    const int leak = ::open("/etc/passwd", O_RDONLY); // no close-on-exec, as libraries forget it
    ASSERT_GE(leak, 0);
    ChildCommand command;
    command.arguments = {"/bin/ls", "/proc/self/fd"};
    EXPECT_EQ(run(command).output, "0\n1\n2\n3\n"); // 3 is the listed folder
    ::close(leak);
}

TEST(ChildProcess, CannotReadOurStandardInput) {
    EXPECT_EQ(run(shell("cat; echo end")).output, "end\n");
}

TEST(ChildProcess, ThatDoesNotExistIsAnError) {
    ChildCommand command;
    command.arguments = {"/no/such/program"};
    const auto end = runChild(command, longEnough);
    ASSERT_FALSE(end);
    EXPECT_EQ(end.error().file, "/no/such/program");
    EXPECT_THAT(end.error().reason, HasSubstr("No such file or directory"));
}

TEST(ChildProcess, IsNeverLookedForInTheSearchPath) {
    ChildCommand command;
    EXPECT_FALSE(runChild(command, longEnough));
    command.arguments = {"true"};
    EXPECT_FALSE(runChild(command, longEnough));
}

TEST(ChildProcess, NeedsAFolderThatIsThere) {
    ChildCommand command = shell("pwd");
    command.workingFolder = "/usr";
    EXPECT_EQ(run(command).output, "/usr\n");
    command.workingFolder = "/no/such/folder";
    const auto end = runChild(command, longEnough);
    ASSERT_FALSE(end);
    EXPECT_THAT(end.error().reason, HasSubstr("entering its folder: No such file"));
}

TEST(ChildProcess, ThatCrashesIsReported) {
    const ChildEnd end = run(shell("kill -SEGV $$"));
    EXPECT_EQ(end.how, How::killed);
    EXPECT_EQ(end.status, SIGSEGV);
    EXPECT_EQ(end.text(), "it crashed (Segmentation fault)");
}

TEST(ChildProcess, IsStoppedAtItsDeadlineAndWhatItSaidIsKept) {
    auto child = ChildProcess::start(shell("echo started; exec sleep 1000"));
    ASSERT_TRUE(child) << child.error().reason;
    EXPECT_FALSE(child->waitUntil(ChildProcess::Clock::now() + std::chrono::milliseconds(50)));
    EXPECT_FALSE(child->hasEnded());
    EXPECT_EQ(child->stop().how, How::stopped);
    EXPECT_TRUE(child->hasEnded());
    EXPECT_FALSE(isAlive(child->processGroup()));
    const auto end = runChild(shell("echo started; exec sleep 1000"), std::chrono::seconds(1));
    ASSERT_TRUE(end);
    EXPECT_EQ(end->how, How::stopped);
    EXPECT_EQ(end->output, "started\n");
}

TEST(ChildProcess, IsStoppedWhenAskedTo) {
    std::stop_source source;
    source.request_stop();
    const auto end = runChild(shell("exec sleep 1000"), longEnough, source.get_token());
    ASSERT_TRUE(end);
    EXPECT_EQ(end->how, How::stopped);
}

TEST(ChildProcess, MayIgnoreEverySignalAndIsStoppedAllTheSame) {
    auto child = ChildProcess::start(shell("trap '' TERM INT HUP; while :; do sleep 1; done"));
    ASSERT_TRUE(child);
    EXPECT_EQ(child->stop().how, How::stopped);
}

TEST(ChildProcess, DoesNotInheritSignalsThatWeIgnore) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    const ChildEnd end = run(shell("kill -PIPE $$; echo survived"));
    std::signal(SIGPIPE, before);
    EXPECT_EQ(end.how, How::killed);
    EXPECT_EQ(end.status, SIGPIPE);
}

TEST(ChildProcess, ThatTalksTooMuchIsNotHeldUpAndCutOff) {
    ChildCommand command = shell("head -c 3000000 /dev/zero; echo done >&2");
    command.outputLimit = 1000;
    const ChildEnd end = run(command);
    EXPECT_TRUE(end.isSuccess());
    EXPECT_EQ(end.output, std::string(1000, '\0'));
    EXPECT_FALSE(end.isOutputWhole);
    EXPECT_EQ(end.errors, "done\n");
    EXPECT_TRUE(end.isErrorsWhole);
}

TEST(ChildProcess, GivesBackLargeOutput) {
    ChildCommand command = shell("head -c 3000000 /dev/zero");
    command.outputLimit = 4'000'000;
    const ChildEnd end = run(command);
    EXPECT_EQ(end.output.size(), 3'000'000U);
    EXPECT_TRUE(end.isOutputWhole);
}

/// Reads until the text is there, the end of the pipe, or far too long.
std::string readUntil(const FileDescriptor& pipe, std::string_view text) {
    std::string read;
    static_cast<void>(waitUntil([&]() {
        std::array<char, 256> block{};
        const ssize_t got = ::read(pipe.get(), block.data(), block.size());
        read.append(block.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
        return got == 0 || (!text.empty() && read.find(text) != std::string::npos);
    }));
    return read;
}

TEST(KeptChild, IsDrivenOverPipes) {
    ChildCommand command = shell("while read line <&3; do echo \"heard $line\" >&4; done");
    command.pipes = {{3, ChildPipe::Direction::toChild}, {4, ChildPipe::Direction::fromChild}};
    auto child = ChildProcess::start(command);
    ASSERT_TRUE(child) << child.error().reason;
    for (const char* const word : {"one", "two"}) {
        ASSERT_TRUE(writeAll(child->pipe(3), "pipe", std::string(word) + "\n"));
        EXPECT_EQ(readUntil(child->pipe(4), "\n"), std::string("heard ") + word + "\n");
    }
    child->pipe(3).reset(); // no more lines
    EXPECT_EQ(readUntil(child->pipe(4), ""), "");
    const auto end = child->waitUntil(ChildProcess::Clock::now() + longEnough);
    ASSERT_TRUE(end);
    EXPECT_TRUE(end->isSuccess());
}

TEST(KeptChild, IsFedThroughItsStandardInput) {
    ChildCommand command = shell("cat");
    command.pipes = {{0, ChildPipe::Direction::toChild}};
    auto child = ChildProcess::start(command);
    ASSERT_TRUE(child) << child.error().reason;
    ASSERT_TRUE(writeAll(child->pipe(0), "pipe", std::string("fed")));
    child->pipe(0).reset();
    const auto end = child->waitUntil(ChildProcess::Clock::now() + longEnough);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->output, "fed");
}

TEST(KeptChild, ThatDiesIsNoticedByWhoeverWaitsForItsPipe) {
    ChildCommand command = shell("kill -9 $$");
    command.pipes = {{3, ChildPipe::Direction::toChild}, {4, ChildPipe::Direction::fromChild}};
    auto child = ChildProcess::start(command);
    ASSERT_TRUE(child) << child.error().reason;
    EXPECT_EQ(readUntil(child->pipe(4), ""), "");
    pollfd ended{child->endDescriptor(), POLLIN, 0};
    EXPECT_EQ(::poll(&ended, 1, 60'000), 1);
    const auto end = child->waitUntil(ChildProcess::Clock::now() + longEnough);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->how, How::killed);
    EXPECT_EQ(end->status, SIGKILL);
}

TEST(KeptChild, CannotHaveAPipeInTheWayOfItsOutput) {
    for (const ChildPipe pipe : {ChildPipe{1, ChildPipe::Direction::toChild},
                                 ChildPipe{0, ChildPipe::Direction::fromChild},
                                 ChildPipe{10, ChildPipe::Direction::toChild}}) {
        ChildCommand command = shell("true");
        command.pipes = {pipe};
        EXPECT_FALSE(ChildProcess::start(command)) << pipe.number;
    }
}

} // namespace
} // namespace quillorn::tests
