#include "tests/app/ProgramFixture.h"
#include "tests/fakes/PDFContents.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class InterruptTest : public ProgramFixture {
protected:
    InterruptTest() {
        pdf("long.pdf", 5000);
        pdf("short.pdf", 1);
        std::filesystem::create_directory(out);
        writeFile(out / "Long.pdf", "the old file");
    }
    /// One short output, then one that takes seconds.
    [[nodiscard]] Program longJob() const {
        std::vector<std::string> words = {"compose",   "--json",  "--output-folder",
                                          "out",       "--group", "Short.pdf",
                                          "short.pdf", "--group", "Long.pdf"};
        words.insert(words.end(), 60, "long.pdf");
        return program(words);
    }
    /// Starts the job and waits until it is in the middle of the long output.
    [[nodiscard]] RunningProgram startedJob(const Program& job) const {
        RunningProgram running = job.start();
        EXPECT_TRUE(waitUntil([&]() {
            return std::filesystem::exists(out / "Short.pdf") && running.hasOpenFileIn(out);
        }));
        return running;
    }
    void expectOnlyWholeFiles() const {
        EXPECT_THAT(namesIn(out), ElementsAre("Long.pdf", "Short.pdf"));
        EXPECT_EQ(readFile(out / "Long.pdf"), "the old file");
        EXPECT_THAT(pageTexts(out / "Short.pdf"), ElementsAre("Page 1 of short.pdf"));
    }

    const std::filesystem::path out = work / "out";
};

class EndingSignal : public InterruptTest, public testing::WithParamInterface<int> {};

TEST_P(EndingSignal, LeavesWholeFilesOnlyAndIsReported) {
    RunningProgram job = startedJob(longJob());
    job.signal(GetParam());
    const ProgramResult result = job.wait();
    EXPECT_EQ(result.status, 128 + GetParam());
    expectOnlyWholeFiles();
    EXPECT_THAT(litter(), IsEmpty());
    EXPECT_THAT(result.errors, HasSubstr("Interrupted. Of 2 files, 1 was written.\n"));
    const nlohmann::json report = reportIn(result);
    EXPECT_EQ(report["status"], 128 + GetParam());
    EXPECT_EQ(report["outputs"].size(), 1U);
    EXPECT_EQ(report["failed"],
              nlohmann::json({{{"file", (out / "Long.pdf").string()}, {"reason", "interrupted"}}}));
}

INSTANTIATE_TEST_SUITE_P(InterruptTest, EndingSignal, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const testing::TestParamInfo<int>& signal) {
                             return std::string(::sigabbrev_np(signal.param));
                         });

TEST_F(InterruptTest, ASignalAmidTheBytesOfAnOutputLeavesTheOldFile) {
    const Program job = longJob();
    for (const std::uint64_t bytes : {std::uint64_t{1}, std::uint64_t{1} << 20U}) {
        RunningProgram running = job.start();
        ASSERT_TRUE(waitUntil([&]() {
            return std::filesystem::exists(out / "Short.pdf") && running.hasOpenFileIn(out, bytes);
        }));
        running.signal(SIGTERM);
        const ProgramResult result = running.wait();
        EXPECT_EQ(result.status, 128 + SIGTERM) << result.errors;
        expectOnlyWholeFiles();
    }
}

TEST_F(InterruptTest, ASecondSignalEndsTheProgramAtOnce) {
    RunningProgram job = startedJob(longJob());
    job.signal(SIGTERM);
    job.signal(SIGINT);
    const ProgramResult result = job.wait();
    EXPECT_THAT(result.status, testing::AnyOf(128 + SIGTERM, 128 + SIGINT));
    expectOnlyWholeFiles();
}

TEST_F(InterruptTest, AnIgnoredHangupStaysIgnored) {
    std::vector<std::string> words = {"nohup", QUILLORN_PROGRAM, "compose", "--output-folder",
                                      "out",   "--group",        "Long.pdf"};
    words.insert(words.end(), 6, "long.pdf");
    const Program job =
        Program("/usr/bin/env", words).inFolder(work).with("TMPDIR", temporary.string());
    RunningProgram running = job.start();
    EXPECT_TRUE(waitUntil([&]() { return running.hasOpenFileIn(out); }));
    running.signal(SIGHUP);
    EXPECT_EQ(running.wait().status, 0);
    EXPECT_EQ(complaintsAbout(out / "Long.pdf"), "");
}

TEST_F(InterruptTest, AKilledRunLeavesNothingInTheOutputFolder) {
    RunningProgram job = startedJob(longJob());
    job.signal(SIGKILL);
    EXPECT_EQ(job.wait().status, -SIGKILL);
    expectOnlyWholeFiles();
}

TEST_F(InterruptTest, WhatAKilledRunLeftElsewhereGoesAtTheNextStart) {
    RunningProgram job = startedJob(longJob());
    job.signal(SIGKILL);
    EXPECT_EQ(job.wait().status, -SIGKILL);
    EXPECT_EQ(litter().size(), 1U) << "the folder for copies of small sources";
    EXPECT_EQ(run({"compose", "--output-folder", "out", "--group", "A.pdf", "short.pdf"}).status,
              0);
    EXPECT_THAT(litter(), IsEmpty());
}

TEST_F(InterruptTest, TheFolderOfARunningProgramIsLeftAlone) {
    RunningProgram job = startedJob(longJob());
    EXPECT_EQ(run({"compose", "--output-folder", "out", "--group", "A.pdf", "short.pdf"}).status,
              0);
    EXPECT_EQ(litter().size(), 1U);
    job.signal(SIGINT);
    EXPECT_EQ(job.wait().status, 128 + SIGINT);
    EXPECT_THAT(litter(), IsEmpty());
}

} // namespace
} // namespace quillorn::tests
