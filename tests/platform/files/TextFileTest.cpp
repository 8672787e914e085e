#include "platform/files/TextFile.h"
#include "tests/fakes/TemporaryFolder.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <thread>

namespace quillorn {
namespace {

class FirstLine : public testing::Test {
protected:
    FileResult<std::string> of(const std::string& content, std::size_t limit = 4096) {
        tests::writeFile(m_folder / "file", content);
        return readFirstLine(m_folder / "file", limit);
    }

    tests::TemporaryFolder m_folder;
};

TEST_F(FirstLine, ComesWithoutItsLineEnd) {
    EXPECT_EQ(of("secret\nmore\n"), "secret");
    EXPECT_EQ(of("secret\r\nmore\r\n"), "secret");
    EXPECT_EQ(of("secret"), "secret");
    EXPECT_EQ(of("secret\r"), "secret");
}

TEST_F(FirstLine, KeepsSpacesAndBytesOfAnyKind) {
    EXPECT_EQ(of("  a b \n"), "  a b ");
    EXPECT_EQ(of("\xc3\xa4\xff\n"), "\xc3\xa4\xff");
    EXPECT_EQ(of(std::string("a\0b\n", 4)), std::string("a\0b", 3));
}

TEST_F(FirstLine, OfAnEmptyFileIsEmpty) {
    EXPECT_EQ(of(""), "");
    EXPECT_EQ(of("\nsecond\n"), "");
}

TEST_F(FirstLine, MayBeAsLongAsTheLimitAndNoLonger) {
    const std::string longest(20, 'x');
    for (const char* end : {"", "\n", "\r\n", "\nnext line"}) {
        EXPECT_EQ(of(longest + end, 20), longest);
        const auto tooLong = of(longest + "x" + end, 20);
        ASSERT_FALSE(tooLong.has_value());
        EXPECT_NE(tooLong.error().reason.find("too long"), std::string::npos);
    }
}

TEST_F(FirstLine, OfAnEndlessFileIsRefused) {
    EXPECT_FALSE(readFirstLine("/dev/zero").has_value());
}

TEST_F(FirstLine, ComesOutOfAPipe) {
    const std::filesystem::path pipe = m_folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::thread writer([&pipe]() {
        std::ofstream stream(pipe);
        stream << "from";
        stream.flush(); // the line comes in two pieces
        stream << " a pipe\nrest";
    });
    EXPECT_EQ(readFirstLine(pipe), "from a pipe");
    writer.join();
}

TEST_F(FirstLine, OfAMissingFileOrAFolderIsAnErrorWithItsReason) {
    const auto missing = readFirstLine(m_folder / "missing");
    ASSERT_FALSE(missing.has_value());
    EXPECT_EQ(missing.error().errnoValue, ENOENT);
    const auto folder = readFirstLine(m_folder.path());
    ASSERT_FALSE(folder.has_value());
    EXPECT_EQ(folder.error().errnoValue, EISDIR);
}

} // namespace
} // namespace quillorn
