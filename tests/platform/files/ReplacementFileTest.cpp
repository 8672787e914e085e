#include "platform/files/ReplacementFile.h"
#include "tests/fakes/ChildProcess.h"
#include "tests/fakes/TemporaryFolder.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace quillorn {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using Temporary = ReplacementFile::Temporary;

unsigned modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status.st_mode & 07777U;
}

/// Every promise is kept with an unnamed temporary file and with a named one.
class Replacing : public testing::TestWithParam<Temporary> {
protected:
    FileResult<void> replace(const fs::path& target, const std::string& content) {
        auto file = ReplacementFile::create(target, GetParam());
        if (!file) {
            return tl::unexpected(file.error());
        }
        if (auto written = file->write(content); !written) {
            return written;
        }
        return file->commit();
    }

    tests::TemporaryFolder m_folder;
};

INSTANTIATE_TEST_SUITE_P(WithATemporaryFile, Replacing,
                         testing::Values(Temporary::unnamedWherePossible, Temporary::named),
                         [](const auto& temporary) {
                             return temporary.param == Temporary::named ? "Named" : "Unnamed";
                         });

TEST_P(Replacing, MakesANewFile) {
    ASSERT_TRUE(replace(m_folder / "new.pdf", "content"));
    EXPECT_EQ(tests::readFile(m_folder / "new.pdf"), "content");
    EXPECT_EQ(m_folder.names(), Names{"new.pdf"});
}

TEST_P(Replacing, ReplacesALongerFileEntirely) {
    tests::writeFile(m_folder / "a.pdf", std::string(100'000, 'o'));
    ASSERT_TRUE(replace(m_folder / "a.pdf", "new"));
    EXPECT_EQ(tests::readFile(m_folder / "a.pdf"), "new");
    EXPECT_EQ(m_folder.names(), Names{"a.pdf"});
}

TEST_P(Replacing, CountsTheBytesOfAllPieces) {
    auto file = ReplacementFile::create(m_folder / "a.pdf", GetParam());
    ASSERT_TRUE(file.has_value());
    const std::string piece(3U << 20U, 'x'); // several steps of writing back
    for (int i = 0; i < 7; ++i) {
        ASSERT_TRUE(file->write(piece));
    }
    ASSERT_TRUE(file->write({}));
    ASSERT_TRUE(file->commit());
    EXPECT_EQ(file->bytesWritten(), 7 * piece.size());
    EXPECT_EQ(fs::file_size(m_folder / "a.pdf"), 7 * piece.size());
}

TEST_P(Replacing, ShowsTheOldFileUntilCommitted) {
    tests::writeFile(m_folder / "a.pdf", "old");
    auto file = ReplacementFile::create(m_folder / "a.pdf", GetParam());
    ASSERT_TRUE(file.has_value());
    ASSERT_TRUE(file->write(std::string("new")));
    EXPECT_EQ(tests::readFile(m_folder / "a.pdf"), "old");
    ASSERT_TRUE(file->commit());
    EXPECT_EQ(tests::readFile(m_folder / "a.pdf"), "new");
}

TEST_P(Replacing, LeavesOpenReadersOfTheOldFileAlone) {
    tests::writeFile(m_folder / "a.pdf", "old");
    const auto reader = FileDescriptor::openRegularFile(m_folder / "a.pdf");
    ASSERT_TRUE(replace(m_folder / "a.pdf", "new content"));
    std::array<char, 16> buffer{};
    ASSERT_EQ(readAt(*reader, "a.pdf", buffer, 0), 3U);
    EXPECT_EQ(std::string(buffer.data(), 3), "old");
}

TEST_P(Replacing, WithoutCommitLeavesNeitherFileNorLitter) {
    tests::writeFile(m_folder / "a.pdf", "old");
    for (const char* name : {"a.pdf", "new.pdf"}) {
        auto file = ReplacementFile::create(m_folder / name, GetParam());
        ASSERT_TRUE(file.has_value());
        ASSERT_TRUE(file->write(std::string("half of it")));
    }
    EXPECT_EQ(m_folder.names(), Names{"a.pdf"});
    EXPECT_EQ(tests::readFile(m_folder / "a.pdf"), "old");
}

TEST_P(Replacing, GoesOnAfterTheObjectWasMoved) {
    std::vector<ReplacementFile> files;
    {
        auto file = ReplacementFile::create(m_folder / "a.pdf", GetParam());
        ASSERT_TRUE(file.has_value());
        ASSERT_TRUE(file->write(std::string("first ")));
        files.push_back(std::move(*file));
    }
    ASSERT_TRUE(files.back().write(std::string("second")));
    ASSERT_TRUE(files.back().commit());
    EXPECT_EQ(tests::readFile(m_folder / "a.pdf"), "first second");
    EXPECT_EQ(files.back().bytesWritten(), 12U);
    files.clear();
    EXPECT_EQ(m_folder.names(), Names{"a.pdf"});
}

TEST_P(Replacing, KeepsTheModeOfTheOldFile) {
    for (const unsigned mode : {0600U, 0640U, 0664U, 0777U, 02755U}) {
        tests::writeFile(m_folder / "a.pdf", "old");
        ASSERT_EQ(::chmod((m_folder / "a.pdf").c_str(), mode), 0);
        ASSERT_TRUE(replace(m_folder / "a.pdf", "new"));
        EXPECT_EQ(modeOf(m_folder / "a.pdf"), mode);
        EXPECT_EQ(tests::readFile(m_folder / "a.pdf"), "new");
    }
}

TEST_P(Replacing, GivesANewFileTheModeThatTheUmaskLeaves) {
    const auto modeWithUmask = [&](mode_t mask) {
        return tests::inChild([&]() -> std::string {
            ::umask(mask);
            fs::remove(m_folder / "new.pdf");
            const auto done = replace(m_folder / "new.pdf", "content");
            return done ? std::to_string(modeOf(m_folder / "new.pdf")) : done.error().reason;
        });
    };
    EXPECT_EQ(modeWithUmask(0022), std::to_string(0644));
    EXPECT_EQ(modeWithUmask(0027), std::to_string(0640));
    EXPECT_EQ(modeWithUmask(0077), std::to_string(0600));
    EXPECT_EQ(modeWithUmask(0000), std::to_string(0666));
}

TEST_P(Replacing, FollowsASymbolicLinkWhichStays) {
    fs::create_directory(m_folder / "elsewhere");
    tests::writeFile(m_folder / "elsewhere" / "real.pdf", "old");
    fs::create_symlink("elsewhere/second", m_folder / "link.pdf");
    fs::create_symlink("real.pdf", m_folder / "elsewhere" / "second");
    ASSERT_TRUE(replace(m_folder / "link.pdf", "new"));
    EXPECT_EQ(fs::read_symlink(m_folder / "link.pdf"), "elsewhere/second");
    EXPECT_EQ(fs::read_symlink(m_folder / "elsewhere" / "second"), "real.pdf");
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(m_folder / "elsewhere" / "real.pdf")));
    EXPECT_EQ(tests::readFile(m_folder / "elsewhere" / "real.pdf"), "new");
    EXPECT_EQ(m_folder.names(), (Names{"elsewhere", "link.pdf"}));
    EXPECT_EQ(tests::namesIn(m_folder / "elsewhere"), (Names{"real.pdf", "second"}));
}

TEST_P(Replacing, MakesTheMissingTargetOfALinkWhichStays) {
    fs::create_directory(m_folder / "elsewhere");
    fs::create_symlink("elsewhere/real.pdf", m_folder / "link.pdf");
    ASSERT_TRUE(replace(m_folder / "link.pdf", "new"));
    EXPECT_EQ(fs::read_symlink(m_folder / "link.pdf"), "elsewhere/real.pdf");
    EXPECT_EQ(tests::readFile(m_folder / "elsewhere" / "real.pdf"), "new");
}

TEST_P(Replacing, RefusesALinkThatLeadsNowhere) {
    fs::create_symlink("circle.pdf", m_folder / "circle.pdf");
    fs::create_symlink("missing/real.pdf", m_folder / "lost.pdf");
    EXPECT_FALSE(replace(m_folder / "circle.pdf", "new"));
    EXPECT_FALSE(replace(m_folder / "lost.pdf", "new"));
    EXPECT_EQ(m_folder.names(), (Names{"circle.pdf", "lost.pdf"}));
}

TEST_P(Replacing, RefusesAFolderInTheWay) {
    fs::create_directory(m_folder / "a.pdf");
    fs::create_symlink("a.pdf", m_folder / "link.pdf");
    for (const char* name : {"a.pdf", "link.pdf"}) {
        const auto refused = replace(m_folder / name, "new");
        ASSERT_FALSE(refused.has_value());
        EXPECT_EQ(refused.error().errnoValue, EISDIR);
        EXPECT_EQ(refused.error().file, m_folder / name);
    }
    EXPECT_EQ(m_folder.names(), (Names{"a.pdf", "link.pdf"}));
}

TEST_P(Replacing, RefusesPipesAndDevicesInTheWay) {
    ASSERT_EQ(::mkfifo((m_folder / "pipe.pdf").c_str(), 0600), 0);
    fs::create_symlink("/dev/null", m_folder / "null.pdf");
    for (const char* name : {"pipe.pdf", "null.pdf"}) {
        const auto refused = replace(m_folder / name, "new");
        ASSERT_FALSE(refused.has_value());
        EXPECT_NE(refused.error().reason.find("in the way"), std::string::npos);
    }
    EXPECT_TRUE(fs::is_fifo(m_folder / "pipe.pdf"));
    EXPECT_EQ(m_folder.names(), (Names{"null.pdf", "pipe.pdf"}));
}

TEST_P(Replacing, RefusesAFolderThatTookThePlaceMeanwhile) {
    auto file = ReplacementFile::create(m_folder / "a.pdf", GetParam());
    ASSERT_TRUE(file.has_value());
    ASSERT_TRUE(file->write(std::string("new")));
    fs::create_directory(m_folder / "a.pdf");
    {
        ReplacementFile last = std::move(*file);
        EXPECT_FALSE(last.commit());
    }
    EXPECT_EQ(m_folder.names(), Names{"a.pdf"});
    EXPECT_TRUE(fs::is_directory(m_folder / "a.pdf"));
}

TEST_P(Replacing, ReplacesAFileThatAppearedMeanwhile) {
    auto file = ReplacementFile::create(m_folder / "a.pdf", GetParam());
    ASSERT_TRUE(file.has_value());
    ASSERT_TRUE(file->write(std::string("new")));
    tests::writeFile(m_folder / "a.pdf", "somebody else's");
    ASSERT_TRUE(file->commit());
    EXPECT_EQ(tests::readFile(m_folder / "a.pdf"), "new");
    EXPECT_EQ(m_folder.names(), Names{"a.pdf"});
}

TEST_P(Replacing, RefusesAMissingFolderAndAFileInItsPlace) {
    tests::writeFile(m_folder / "file", "x");
    const auto missing = replace(m_folder / "missing" / "a.pdf", "new");
    ASSERT_FALSE(missing.has_value());
    EXPECT_EQ(missing.error().errnoValue, ENOENT);
    const auto noFolder = replace(m_folder / "file" / "a.pdf", "new");
    ASSERT_FALSE(noFolder.has_value());
    EXPECT_EQ(noFolder.error().errnoValue, ENOTDIR);
}

TEST_P(Replacing, RefusesATargetWithoutAName) {
    for (const fs::path& path : {fs::path(), m_folder.path() / "", m_folder.path() / "new" / ""}) {
        EXPECT_FALSE(replace(path, "new")) << path;
    }
    EXPECT_EQ(m_folder.names(), Names{});
}

TEST_P(Replacing, RefusesAProtectedFileOfAnOrdinaryUser) {
    tests::writeFile(m_folder / "a.pdf", "old");
    ASSERT_EQ(::chmod((m_folder / "a.pdf").c_str(), 0444), 0);
    tests::giveToOrdinaryUser(m_folder / "a.pdf");
    tests::giveToOrdinaryUser(m_folder.path());
    EXPECT_EQ(tests::asOrdinaryUser([&]() -> std::string {
                  const auto done = replace(m_folder / "a.pdf", "new");
                  return done ? "replaced" : done.error().reason;
              }),
              "the file is protected: Permission denied");
    EXPECT_EQ(tests::readFile(m_folder / "a.pdf"), "old");
    EXPECT_EQ(modeOf(m_folder / "a.pdf"), 0444U);
}

TEST_P(Replacing, RefusesAFolderThatAnOrdinaryUserMayNotWriteTo) {
    tests::writeFile(m_folder / "a.pdf", "old");
    tests::giveToOrdinaryUser(m_folder / "a.pdf");
    tests::giveToOrdinaryUser(m_folder.path());
    ASSERT_EQ(::chmod(m_folder.path().c_str(), 0555), 0);
    const auto attempt = [&](const char* name) {
        return tests::asOrdinaryUser([&, name]() -> std::string {
            const auto done = replace(m_folder / name, "new");
            return done ? "replaced" : done.error().reason;
        });
    };
    EXPECT_EQ(attempt("a.pdf"), "Permission denied");
    EXPECT_EQ(attempt("new.pdf"), "Permission denied");
    ASSERT_EQ(::chmod(m_folder.path().c_str(), 0755), 0);
    EXPECT_EQ(m_folder.names(), Names{"a.pdf"});
    EXPECT_EQ(tests::readFile(m_folder / "a.pdf"), "old");
}

TEST_P(Replacing, KeepsTheOwnerWhereThatIsPermitted) {
    tests::writeFile(m_folder / "a.pdf", "old");
    tests::giveToOrdinaryUser(m_folder / "a.pdf");
    struct stat before {};
    ASSERT_EQ(::stat((m_folder / "a.pdf").c_str(), &before), 0);
    ASSERT_TRUE(replace(m_folder / "a.pdf", "new"));
    struct stat after {};
    ASSERT_EQ(::stat((m_folder / "a.pdf").c_str(), &after), 0);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
}

TEST_P(Replacing, GivesNoRightsToAnotherGroupThanTheOldFileDid) {
    // As root the file stays root's, so that the ordinary user can keep neither owner nor group.
    const bool othersFile = ::geteuid() == 0;
    tests::writeFile(m_folder / "a.pdf", "old");
    ASSERT_EQ(::chmod((m_folder / "a.pdf").c_str(), 04676), 0);
    tests::giveToOrdinaryUser(m_folder.path());
    EXPECT_EQ(tests::asOrdinaryUser([&]() -> std::string {
                  const auto done = replace(m_folder / "a.pdf", "new");
                  return done ? "replaced" : done.error().reason;
              }),
              "replaced");
    EXPECT_EQ(tests::readFile(m_folder / "a.pdf"), "new");
    EXPECT_EQ(modeOf(m_folder / "a.pdf"), othersFile ? 0666U : 04676U);
}

TEST_P(Replacing, WritesWhereTheTargetStoodWhenItBegan) {
    fs::create_directory(m_folder / "first");
    fs::create_directory(m_folder / "second");
    EXPECT_EQ(tests::inChild([&]() -> std::string {
                  fs::current_path(m_folder / "first");
                  auto file = ReplacementFile::create("a.pdf", GetParam());
                  fs::current_path(m_folder / "second");
                  if (!file || !file->write(std::string("new")) || !file->commit()) {
                      return "failed";
                  }
                  return "written";
              }),
              "written");
    EXPECT_EQ(tests::namesIn(m_folder / "first"), Names{"a.pdf"});
    EXPECT_EQ(tests::namesIn(m_folder / "second"), Names{});
}

} // namespace
} // namespace quillorn
