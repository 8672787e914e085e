#include "platform/process/ChildProcess.h"
#include "tests/fakes/ChildProcess.h"
#include "tests/fakes/Program.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/platform/process/Shell.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace quillorn::tests {
namespace {

bool nobodyIsLeft(const std::vector<pid_t>& processes) {
    return waitUntil([&]() { return std::ranges::none_of(processes, isAlive); });
}

/// A child whose family is complete, and the processes in it.
struct Family {
    ChildProcess child;
    std::vector<pid_t> processes; ///< the two sleepers and the shell, in any order
    pid_t keeper = 0;
};

/// `folder` must let the child's user write.
Family startFamily(const std::filesystem::path& folder) {
    const std::string script =
        "cd " + folder.string() +
        "; sleep 1000 & echo $! > a; setsid sh -c 'echo $$ > b; exec sleep 1000' & "
        "echo $$ > c; echo $PPID > d; wait";
    auto child = ChildProcess::start(shell(script));
    if (!child) {
        throw std::runtime_error(child.error().reason);
    }
    Family family{std::move(*child), {}, 0};
    for (const char* const name : {"a", "b", "c", "d"}) {
        std::vector<pid_t> found;
        if (!waitUntil([&]() {
                found = std::filesystem::exists(folder / name)
                            ? processesIn(readFile(folder / name))
                            : std::vector<pid_t>();
                return !found.empty();
            })) {
            throw std::runtime_error("the family does not start");
        }
        family.processes.push_back(found.front());
    }
    family.keeper = family.processes.back();
    family.processes.pop_back();
    return family;
}

class ChildSurvival : public testing::Test {
protected:
    ChildSurvival() { std::filesystem::permissions(folder.path(), std::filesystem::perms::all); }
    const TemporaryFolder folder;
};

TEST_F(ChildSurvival, StoppingAChildEndsItsWholeFamily) {
    Family family = startFamily(folder.path());
    EXPECT_TRUE(std::ranges::all_of(family.processes, isAlive));
    family.child.stop();
    // Gone already, not only soon.
    EXPECT_TRUE(std::ranges::none_of(family.processes, isAlive));
    EXPECT_FALSE(isAlive(family.keeper));
}

TEST_F(ChildSurvival, AChildThatEndsTakesItsFamilyAlong) {
    Family family = startFamily(folder.path());
    ASSERT_EQ(::kill(family.processes.back(), SIGKILL), 0);
    const auto end = family.child.waitUntil(ChildProcess::Clock::now() + longEnough);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->how, ChildEnd::How::killed);
    EXPECT_TRUE(std::ranges::none_of(family.processes, isAlive));
}

TEST_F(ChildSurvival, NothingSurvivesAProgramThatIsKilled) {
    HeldChild program([&](const HeldChild::Hold& hold) {
        const Family family = startFamily(folder.path());
        writeFile(folder / "keeper", std::to_string(family.keeper));
        hold();
    });
    std::vector<pid_t> processes = processesIn(readFile(folder / "keeper"));
    for (const char* const name : {"a", "b", "c"}) {
        processes.push_back(processesIn(readFile(folder / name)).front());
    }
    ASSERT_EQ(processes.size(), 4U);
    EXPECT_TRUE(std::ranges::all_of(processes, isAlive));
    program.kill();
    EXPECT_TRUE(nobodyIsLeft(processes));
}

TEST_F(ChildSurvival, NothingSurvivesAProgramThatEndsWithoutCleaningUp) {
    const std::string started = inChild([&]() {
        const Family family = startFamily(folder.path());
        ::_exit(0);
        return std::string();
    });
    EXPECT_EQ(started, "");
    std::vector<pid_t> processes;
    for (const char* const name : {"a", "b", "c", "d"}) {
        processes.push_back(processesIn(readFile(folder / name)).front());
    }
    EXPECT_TRUE(nobodyIsLeft(processes));
}

TEST_F(ChildSurvival, AKilledKeeperTakesTheChildAndItsGroupAlong) {
    Family family = startFamily(folder.path());
    ASSERT_EQ(::kill(family.keeper, SIGKILL), 0);
    const auto end = family.child.waitUntil(ChildProcess::Clock::now() + longEnough);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->how, ChildEnd::How::lost);
    // Who has left the group is out of anybody's sight once the keeper is gone.
    const pid_t inItsOwnSession = family.processes[1];
    EXPECT_TRUE(nobodyIsLeft({family.processes[0], family.processes[2]}));
    ::kill(inItsOwnSession, SIGKILL);
}

TEST_F(ChildSurvival, SignalsOfTheTerminalDoNotReachAChild) {
    Family family = startFamily(folder.path());
    EXPECT_NE(::getpgid(family.keeper), ::getpgrp());
    EXPECT_NE(::getpgid(family.processes[2]), ::getpgrp());
    EXPECT_EQ(::getpgid(family.processes[2]), family.child.processGroup());
}

} // namespace
} // namespace quillorn::tests
