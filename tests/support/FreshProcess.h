#pragma once

#include <gtest/gtest.h>

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>

// Runs `body` in a process of its own, for what a process can do only once (opening its log), and
// fails the test when an expectation in it fails or it dies. Leak checks run there, too.
inline void InFreshProcess(const std::function<void()>& body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        body();
        std::exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

// As above, without the rights of the superuser, for whom no file is unreadable.
inline void AsOrdinaryUser(const std::function<void()>& body) {
    InFreshProcess([&] {
        constexpr uid_t nobody = 65534;
        if (geteuid() == 0) {
            ASSERT_EQ(setgroups(0, nullptr), 0);
            ASSERT_EQ(setresgid(nobody, nobody, nobody), 0);
            ASSERT_EQ(setresuid(nobody, nobody, nobody), 0);
        }
        body();
    });
}
