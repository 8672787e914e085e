#include "platform/files/FileSnapshot.h"
#include "tests/fakes/TemporaryFolder.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <optional>
#include <stop_token>
#include <string>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <utility>
#include <vector>

namespace quillorn {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

std::string contentOf(const KeptFile& file) {
    std::string content(file.stamp.size + 100, '\0');
    const auto got = readAt(file.descriptor, "kept", content, 0);
    EXPECT_TRUE(got.has_value());
    content.resize(got.value_or(0));
    return content;
}

class Snapshot : public testing::Test {
protected:
    void SetUp() override { fs::create_directory(m_policy.folder); }

    tests::TemporaryFolder m_folder;
    fs::path m_file = m_folder / "a.pdf";
    SnapshotPolicy m_policy{m_folder / "private", 1000};
};

/// Whether the file system of the temporary folder shares blocks between files.
bool clonesFiles(const tests::TemporaryFolder& folder) {
    tests::writeFile(folder / "probe", std::string(5000, 'x'));
    const auto kept = openKept(folder / "probe", SnapshotPolicy{folder.path(), 0});
    fs::remove(folder / "probe");
    return kept && kept->isSnapshot;
}

TEST_F(Snapshot, OfASmallFileKeepsItsContentWhateverHappensToTheFile) {
    const std::string content(1000, 'o');
    tests::writeFile(m_file, content);
    const auto kept = openKept(m_file, m_policy);
    ASSERT_TRUE(kept.has_value());
    EXPECT_TRUE(kept->isSnapshot);
    EXPECT_EQ(kept->stamp.size, content.size());
    tests::writeFile(m_file, "rewritten");
    EXPECT_EQ(contentOf(*kept), content);
    fs::resize_file(m_file, 0);
    EXPECT_EQ(contentOf(*kept), content);
    fs::remove(m_file);
    EXPECT_EQ(contentOf(*kept), content);
    EXPECT_EQ(*FileStamp::of(kept->descriptor, m_file), kept->stamp);
}

TEST_F(Snapshot, HasNoNameInItsFolder) {
    tests::writeFile(m_file, "content");
    const auto kept = openKept(m_file, m_policy);
    ASSERT_TRUE(kept.has_value());
    EXPECT_EQ(tests::namesIn(m_policy.folder), Names{});
    EXPECT_EQ(m_folder.names(), (Names{"a.pdf", "private"}));
}

TEST_F(Snapshot, OfAnEmptyFileIsEmpty) {
    tests::writeFile(m_file, "");
    const auto kept = openKept(m_file, m_policy);
    ASSERT_TRUE(kept.has_value());
    EXPECT_EQ(kept->stamp.size, 0U);
}

TEST_F(Snapshot, OfALargeFileIsMadeOnlyWhereBlocksCanBeShared) {
    const bool clones = clonesFiles(m_folder);
    tests::writeFile(m_file, std::string(1001, 'o'));
    const auto kept = openKept(m_file, m_policy);
    ASSERT_TRUE(kept.has_value());
    EXPECT_EQ(kept->isSnapshot, clones);
    EXPECT_EQ(contentOf(*kept), std::string(1001, 'o'));
}

TEST_F(Snapshot, IsMadeAcrossFileSystemsToo) {
    // Shared memory is a file system of its own on nearly every system. Where it is not, this is
    // one more copy inside one.
    std::optional<KeptFile> kept;
    {
        const tests::TemporaryFolder there(fs::exists("/dev/shm") ? fs::path("/dev/shm")
                                                                  : m_folder.path());
        tests::writeFile(there / "a.pdf", "over there");
        auto opened = openKept(there / "a.pdf", m_policy);
        ASSERT_TRUE(opened.has_value());
        kept = std::move(*opened);
    }
    EXPECT_TRUE(kept->isSnapshot);
    EXPECT_EQ(contentOf(*kept), "over there");
}

/// From here on this process opens no file that has no name, as on file systems that cannot.
bool refuseUnnamedFiles() {
    constexpr std::uint32_t flag = O_TMPFILE & ~O_DIRECTORY;
    const auto word = [](unsigned code, std::uint32_t value, unsigned char yes = 0,
                         unsigned char no = 0) {
        return sock_filter{static_cast<unsigned short>(code), yes, no, value};
    };
    // open() comes as openat, whose flags are the third argument; their lower half suffices.
    std::array<sock_filter, 6> filter = {
        word(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        word(BPF_JMP | BPF_JEQ | BPF_K, __NR_openat, 0, 3),
        word(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
        word(BPF_JMP | BPF_JSET | BPF_K, flag, 0, 1),
        word(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP),
        word(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST_F(Snapshot, IsMadeWhereFilesNeedNames) {
    tests::writeFile(m_file, "content");
    const auto trySo = [this]() {
        if (!refuseUnnamedFiles()) {
            return "cannot refuse";
        }
        if (::open(m_policy.folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600) >= 0) {
            return "is not refused";
        }
        const auto kept = openKept(m_file, m_policy);
        if (!kept || !kept->isSnapshot || contentOf(*kept) != "content") {
            return "no snapshot";
        }
        return tests::namesIn(m_policy.folder).empty() ? "well" : "left its name";
    };
    EXPECT_EXIT(
        {
            const std::string went = trySo();
            std::cerr << went << std::endl;
            std::_Exit(went == "well" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "well");
}

TEST_F(Snapshot, FallsBackToWatchingWhereItsFolderIsMissing) {
    tests::writeFile(m_file, "content");
    const auto kept = openKept(m_file, SnapshotPolicy{m_folder / "missing", 1000});
    ASSERT_TRUE(kept.has_value());
    EXPECT_FALSE(kept->isSnapshot);
    EXPECT_EQ(contentOf(*kept), "content");
}

TEST_F(Snapshot, NoticesAFileThatIsBeingChanged) {
    const std::string block(1U << 20U, 'b');
    {
        std::ofstream stream(m_file, std::ios::binary);
        for (int i = 0; i < 16; ++i) {
            stream << block;
        }
    }
    m_policy.copyLimit = 1U << 30U;
    std::jthread writer([&](const std::stop_token& stop) {
        std::ofstream stream(m_file, std::ios::binary | std::ios::app);
        while (!stop.stop_requested()) {
            stream << 'x' << std::flush;
        }
    });
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    std::string reason;
    while (reason.empty() && std::chrono::steady_clock::now() < deadline) {
        const auto kept = openKept(m_file, m_policy);
        reason = kept ? "" : kept.error().reason;
    }
    EXPECT_EQ(reason, "it is being changed by another program");
}

TEST(KeptFile, WithoutAPolicyIsTheFileItself) {
    const tests::TemporaryFolder folder;
    tests::writeFile(folder / "a.pdf", "content");
    const auto kept = openKept(folder / "a.pdf", std::nullopt);
    ASSERT_TRUE(kept.has_value());
    EXPECT_FALSE(kept->isSnapshot);
    struct stat status {};
    ASSERT_EQ(::stat((folder / "a.pdf").c_str(), &status), 0);
    EXPECT_EQ(kept->stamp, FileStamp::fromStat(status));
    fs::rename(folder / "a.pdf", folder / "b.pdf");
    tests::writeFile(folder / "a.pdf", "another file");
    fs::remove(folder / "b.pdf");
    EXPECT_EQ(contentOf(*kept), "content");
    EXPECT_EQ(*FileStamp::of(kept->descriptor, "a.pdf"), kept->stamp);
}

TEST(KeptFile, IsRefusedWhereNoFileIs) {
    const tests::TemporaryFolder folder;
    const SnapshotPolicy policy{folder.path(), 1000};
    EXPECT_EQ(openKept(folder / "missing", policy).error().errnoValue, ENOENT);
    EXPECT_EQ(openKept(folder.path(), policy).error().errnoValue, EISDIR);
}

} // namespace
} // namespace quillorn
