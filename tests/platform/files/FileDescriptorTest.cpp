#include "platform/files/FileDescriptor.h"
#include "tests/fakes/ChildProcess.h"
#include "tests/fakes/TemporaryFolder.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace quillorn {
namespace {

using tests::TemporaryFolder;
using tests::writeFile;

FileStamp stampOf(const FileDescriptor& file) {
    const auto stamp = FileStamp::of(file, "file");
    EXPECT_TRUE(stamp.has_value());
    return stamp.value_or(FileStamp{});
}

TEST(FileDescriptor, OpensARegularFileForReading) {
    const TemporaryFolder folder;
    writeFile(folder / "a", "hello");
    const auto file = FileDescriptor::openRegularFile(folder / "a");
    ASSERT_TRUE(file.has_value());
    std::array<char, 16> buffer{};
    EXPECT_EQ(readAt(*file, "a", buffer, 1), 4U);
    EXPECT_EQ(std::string(buffer.data(), 4), "ello");
    EXPECT_EQ(readAt(*file, "a", buffer, 5), 0U);
    EXPECT_EQ(readAt(*file, "a", buffer, 500), 0U);
}

TEST(FileDescriptor, SaysWhyAFileCannotBeOpened) {
    const TemporaryFolder folder;
    const auto missing = FileDescriptor::openRegularFile(folder / "missing");
    ASSERT_FALSE(missing.has_value());
    EXPECT_EQ(missing.error().errnoValue, ENOENT);
    EXPECT_EQ(missing.error().file, folder / "missing");
    EXPECT_EQ(missing.error().reason, "No such file or directory");

    const auto isFolder = FileDescriptor::openRegularFile(folder.path());
    ASSERT_FALSE(isFolder.has_value());
    EXPECT_EQ(isFolder.error().errnoValue, EISDIR);
}

TEST(FileDescriptor, RefusesAPipeWithoutWaitingForItsWriter) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const auto pipe = FileDescriptor::openRegularFile(folder / "pipe");
    ASSERT_FALSE(pipe.has_value());
    EXPECT_NE(pipe.error().reason.find("pipe"), std::string::npos);
}

TEST(FileDescriptor, RefusesSocketsAndDevices) {
    const TemporaryFolder folder;
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (folder / "socket").string().copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
              0);
    EXPECT_FALSE(FileDescriptor::openRegularFile(folder / "socket").has_value());
    EXPECT_FALSE(FileDescriptor::openRegularFile("/dev/zero").has_value());
}

TEST(FileDescriptor, ClosesWhatItOwnsOnce) {
    FileDescriptor first(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const int number = first.get();
    FileDescriptor second(std::move(first));
    EXPECT_FALSE(first.isOpen()); // NOLINT: moving promises to leave it empty
    EXPECT_EQ(second.get(), number);
    FileDescriptor& self = second;
    second = std::move(self);
    EXPECT_EQ(::fcntl(number, F_GETFD), FD_CLOEXEC);
    second = FileDescriptor();
    EXPECT_EQ(::fcntl(number, F_GETFD), -1);
}

TEST(FileDescriptor, SaysThatWritingFailed) {
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    const auto written = writeAll(full, "out.pdf", std::string("text"));
    ASSERT_FALSE(written.has_value());
    EXPECT_EQ(written.error().errnoValue, ENOSPC);
    EXPECT_EQ(written.error().file, "out.pdf");
}

TEST(FileStamp, StaysTheSameWhileTheFileIsRead) {
    const TemporaryFolder folder;
    writeFile(folder / "a", "hello");
    const auto file = FileDescriptor::openRegularFile(folder / "a");
    const FileStamp before = stampOf(*file);
    std::array<char, 16> buffer{};
    ASSERT_TRUE(readAt(*file, "a", buffer, 0).has_value());
    EXPECT_EQ(stampOf(*file), before);
    EXPECT_EQ(before.size, 5U);
}

TEST(FileStamp, IgnoresRenamingDeletingAndChangedRights) {
    const TemporaryFolder folder;
    writeFile(folder / "a", "hello");
    const auto file = FileDescriptor::openRegularFile(folder / "a");
    const FileStamp before = stampOf(*file);
    std::filesystem::rename(folder / "a", folder / "b");
    EXPECT_EQ(stampOf(*file), before);
    ASSERT_EQ(::chmod((folder / "b").c_str(), 0400), 0);
    EXPECT_EQ(stampOf(*file), before);
    std::filesystem::remove(folder / "b");
    EXPECT_EQ(stampOf(*file), before);
}

/// Sets the clock of the last change back, so that the next one is seen however coarse it is.
void ageFile(const std::filesystem::path& path) {
    std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) -
                                               std::chrono::hours(1));
}

TEST(FileStamp, NoticesARewriteOfTheSameLength) {
    const TemporaryFolder folder;
    writeFile(folder / "a", "hello");
    ageFile(folder / "a");
    const auto file = FileDescriptor::openRegularFile(folder / "a");
    const FileStamp before = stampOf(*file);
    writeFile(folder / "a", "world");
    EXPECT_NE(stampOf(*file), before);
    EXPECT_EQ(stampOf(*file).size, before.size);
}

TEST(FileStamp, NoticesTruncatingAndAppending) {
    const TemporaryFolder folder;
    writeFile(folder / "a", "hello");
    const auto file = FileDescriptor::openRegularFile(folder / "a");
    const FileStamp before = stampOf(*file);
    std::ofstream(folder / "a", std::ios::app) << "!";
    const FileStamp appended = stampOf(*file);
    EXPECT_NE(appended, before);
    std::filesystem::resize_file(folder / "a", 2);
    EXPECT_NE(stampOf(*file), before);
    EXPECT_NE(stampOf(*file), appended);
}

TEST(FileStamp, TellsTwoFilesWithEqualContentApart) {
    const TemporaryFolder folder;
    writeFile(folder / "a", "hello");
    std::filesystem::copy_file(folder / "a", folder / "b");
    std::filesystem::last_write_time(folder / "b", std::filesystem::last_write_time(folder / "a"));
    EXPECT_NE(stampOf(*FileDescriptor::openRegularFile(folder / "a")),
              stampOf(*FileDescriptor::openRegularFile(folder / "b")));
}

TEST(FileStamp, CopesWithDatesFarFromToday) {
    struct stat farFuture {};
    farFuture.st_mtim.tv_sec = std::numeric_limits<time_t>::max();
    farFuture.st_mtim.tv_nsec = 999'999'999;
    struct stat nextSecond = farFuture;
    --nextSecond.st_mtim.tv_sec;
    EXPECT_NE(FileStamp::fromStat(farFuture), FileStamp::fromStat(nextSecond));
}

TEST(OpenFileLimit, IsRaisedToWhatTheSystemGrants) {
    EXPECT_EQ(tests::inChild([]() -> std::string {
                  struct rlimit limit {};
                  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_max < 128) {
                      return "no usable limit";
                  }
                  limit.rlim_cur = 64;
                  if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
                      return "cannot lower the limit";
                  }
                  raiseOpenFileLimit();
                  struct rlimit raised {};
                  ::getrlimit(RLIMIT_NOFILE, &raised);
                  return raised.rlim_cur == limit.rlim_max ? "raised" : "as it was";
              }),
              "raised");
}

} // namespace
} // namespace quillorn
