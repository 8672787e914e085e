#include "platform/files/ReplacementFile.h"
#include "tests/fakes/ChildProcess.h"
#include "tests/fakes/TemporaryFolder.h"

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <string_view>
#include <sys/mount.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace quillorn {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using Temporary = ReplacementFile::Temporary;

class FailingReplacement : public testing::TestWithParam<Temporary> {
protected:
    void SetUp() override { tests::writeFile(m_folder / "a.pdf", "old"); }

    void expectTheOldFileAlone() const {
        EXPECT_EQ(tests::readFile(m_folder / "a.pdf"), "old");
        EXPECT_EQ(m_folder.names(), Names{"a.pdf"});
    }

    tests::TemporaryFolder m_folder;
};

INSTANTIATE_TEST_SUITE_P(WithATemporaryFile, FailingReplacement,
                         testing::Values(Temporary::unnamedWherePossible, Temporary::named),
                         [](const auto& temporary) {
                             return temporary.param == Temporary::named ? "Named" : "Unnamed";
                         });

/// Replaces `target` in small pieces; "done" or the reason of the failure.
std::string replaceInPieces(const fs::path& target, std::string_view content, std::size_t piece,
                            Temporary temporary) {
    auto file = ReplacementFile::create(target, temporary);
    if (!file) {
        return file.error().reason;
    }
    for (std::size_t start = 0; start < content.size(); start += piece) {
        if (auto written = file->write(content.substr(start, piece)); !written) {
            return written.error().reason;
        }
    }
    const auto committed = file->commit();
    return committed ? "done" : committed.error().reason;
}

TEST_P(FailingReplacement, AtAnyByteLeavesTheOldFile) {
    const std::string content(150, 'n');
    EXPECT_EQ(tests::inChild([&]() -> std::string {
                  ::signal(SIGXFSZ, SIG_IGN); // else the limit ends the process
                  struct rlimit limit {};
                  ::getrlimit(RLIMIT_FSIZE, &limit);
                  for (rlim_t bytes = 0; bytes < content.size(); ++bytes) {
                      limit.rlim_cur = bytes;
                      ::setrlimit(RLIMIT_FSIZE, &limit);
                      const std::string outcome =
                          replaceInPieces(m_folder / "a.pdf", content, 7, GetParam());
                      if (outcome != "cannot be written: File too large" ||
                          tests::readFile(m_folder / "a.pdf") != "old" ||
                          m_folder.names() != Names{"a.pdf"}) {
                          return "at byte " + std::to_string(bytes) + ": " + outcome;
                      }
                  }
                  return "the old file stayed";
              }),
              "the old file stayed");
    expectTheOldFileAlone();
}

/// A file system of 64 KiB at `place`, seen by this process alone. Not every system lets one.
bool mountTinyFileSystem(const fs::path& place) {
    if (::unshare(CLONE_NEWNS) != 0) {
        const std::string user = std::to_string(::geteuid());
        const std::string group = std::to_string(::getegid());
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
            return false;
        }
        tests::writeFile("/proc/self/setgroups", "deny");
        tests::writeFile("/proc/self/uid_map", "0 " + user + " 1");
        tests::writeFile("/proc/self/gid_map", "0 " + group + " 1");
    }
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("tiny", place.c_str(), "tmpfs", 0, "size=64k") == 0;
}

TEST_P(FailingReplacement, OnAFullDiskLeavesTheOldFile) {
    // Where mounting is not permitted a limit of the file size stands in for the full disk.
    EXPECT_EQ(tests::inChild([&]() -> std::string {
                  std::string expected = "cannot be written: No space left on device";
                  if (mountTinyFileSystem(m_folder.path())) {
                      tests::writeFile(m_folder / "a.pdf", "old");
                  } else {
                      ::signal(SIGXFSZ, SIG_IGN);
                      const struct rlimit limit { 64U << 10U, 64U << 10U };
                      ::setrlimit(RLIMIT_FSIZE, &limit);
                      expected = "cannot be written: File too large";
                  }
                  std::string outcome = replaceInPieces(
                      m_folder / "a.pdf", std::string(200'000, 'n'), 1000, GetParam());
                  if (outcome != expected || tests::readFile(m_folder / "a.pdf") != "old" ||
                      m_folder.names() != Names{"a.pdf"}) {
                      return outcome;
                  }
                  return "the old file stayed";
              }),
              "the old file stayed");
    expectTheOldFileAlone();
}

/// A writer that has come half way when it is killed.
void killAWriterOf(const fs::path& target, Temporary temporary) {
    tests::HeldChild writer([&](const tests::HeldChild::Hold& hold) {
        auto file = ReplacementFile::create(target, temporary);
        if (file && file->write(std::string("half of it"))) {
            hold();
        }
    });
    writer.kill();
}

Names temporariesIn(const tests::TemporaryFolder& folder) {
    Names names = folder.names();
    std::erase_if(names, [](const std::string& name) { return !name.ends_with(".part"); });
    return names;
}

TEST(KilledWriter, LeavesTheOldFileAndNoLitter) {
    const tests::TemporaryFolder folder;
    tests::writeFile(folder / "a.pdf", "old");
    killAWriterOf(folder / "a.pdf", Temporary::unnamedWherePossible);
    EXPECT_EQ(tests::readFile(folder / "a.pdf"), "old");
    EXPECT_EQ(folder.names(), Names{"a.pdf"});
}

TEST_P(FailingReplacement, OfAKilledWriterIsSweptByTheNext) {
    killAWriterOf(m_folder / "a.pdf", Temporary::named);
    EXPECT_EQ(tests::readFile(m_folder / "a.pdf"), "old");
    EXPECT_EQ(temporariesIn(m_folder).size(), 1U);
    EXPECT_EQ(replaceInPieces(m_folder / "a.pdf", "new", 3, GetParam()), "done");
    EXPECT_EQ(m_folder.names(), Names{"a.pdf"});
}

TEST_P(FailingReplacement, SweepsNoFileThatIsStillBeingWritten) {
    auto first = ReplacementFile::create(m_folder / "first.pdf", Temporary::named);
    ASSERT_TRUE(first.has_value());
    ASSERT_TRUE(first->write(std::string("first")));
    EXPECT_EQ(replaceInPieces(m_folder / "a.pdf", "second", 6, GetParam()), "done");
    EXPECT_EQ(temporariesIn(m_folder).size(), 1U);
    ASSERT_TRUE(first->commit());
    EXPECT_EQ(tests::readFile(m_folder / "first.pdf"), "first");
    EXPECT_EQ(m_folder.names(), (Names{"a.pdf", "first.pdf"}));
}

TEST_P(FailingReplacement, SweepsNothingThatIsNotItsOwn) {
    const std::string ours = ".quillorn-0123456789abcdef.part";
    fs::create_directory(m_folder / "keep");
    const auto at = [&](const std::string& name) { return m_folder / "keep" / name; };
    const Names kept = {".quillorn-.part", ".quillorn-0123456789abcdeg.part",
                        ".quillorn-letter.part", ".quillorn-0123456789abcdef.part.pdf",
                        "quillorn-0123456789abcdef.part"};
    for (const std::string& name : kept) {
        tests::writeFile(at(name), "mine");
    }
    fs::create_directory(at(".quillorn-1111111111111111.part"));
    fs::create_symlink("quillorn-0123456789abcdef.part", at(".quillorn-2222222222222222.part"));
    tests::writeFile(at("a.pdf"), "old");
    Names expected = tests::namesIn(m_folder / "keep");

    tests::writeFile(at(ours), "litter");
    EXPECT_EQ(replaceInPieces(at("a.pdf"), "new", 3, GetParam()), "done");
    EXPECT_EQ(tests::namesIn(m_folder / "keep"), expected);
}

TEST_P(FailingReplacement, DoesNotHappenToManyWritersInOneFolder) {
    // Each sweeps while others begin, which must cost none of them its file.
    constexpr int writers = 4;
    constexpr int rounds = 100;
    std::vector<std::string> outcomes(writers);
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < writers; ++i) {
            threads.emplace_back([&, i]() {
                const fs::path target = m_folder / ("out-" + std::to_string(i));
                for (int round = 0; round < rounds; ++round) {
                    const std::string content = std::to_string(i) + " " + std::to_string(round);
                    outcomes[i] = replaceInPieces(target, content, 2, GetParam());
                    if (outcomes[i] != "done" || tests::readFile(target) != content) {
                        outcomes[i] += " in round " + std::to_string(round);
                        return;
                    }
                }
            });
        }
    }
    EXPECT_EQ(outcomes, std::vector<std::string>(writers, "done"));
    EXPECT_EQ(m_folder.names(), (Names{"a.pdf", "out-0", "out-1", "out-2", "out-3"}));
}

} // namespace
} // namespace quillorn
