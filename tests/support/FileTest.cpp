#include "support/CASFile.h"

#include "FreshProcess.h"
#include "LogCapture.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string Failed(const std::string& path, int number) {
    return "ERR:Failed to create File: " + path + ", error no: " + std::to_string(number);
}

} // namespace

TEST(File, MissingFileIsReportedAndReadsFail) {
    const LogCapture log;
    const TemporaryFolder folder;
    const std::string path = folder / "missing";
    CASFile file(path.c_str(), ASFileOperationRead);
    EXPECT_EQ(log.lines(), LogLines{Failed(path, ENOENT)});
    char byte = 0;
    EXPECT_EQ(file.readBytes(&byte, 1, 1, 0), -1);
    EXPECT_EQ(log.lines().back(), "ERR:Error File Stream Handle.");
    EXPECT_EQ(file.getFileSize(), 0);
    EXPECT_EQ(file.getFilePos(), 0);
    EXPECT_FALSE(file.seek(0, ASFileSeekBegin));
    EXPECT_STREQ(file.getPathFile(), path.c_str());
}

TEST(File, WritingOnAReadFileIsRefused) {
    const LogCapture log;
    const TemporaryFolder folder;
    const std::string path = folder.write("a", "abc");
    {
        CASFile file(path.c_str(), ASFileOperationRead);
        EXPECT_EQ(file.writeBytes("xyz", 3, 1, 0), -1);
    }
    EXPECT_EQ(log.lines(), LogLines{"ERR:Write Operation Can't allowed."});
    EXPECT_EQ(ReadFile(path), "abc");
}

TEST(File, ReadingOnAWriteFileIsRefused) {
    const LogCapture log;
    const TemporaryFolder folder;
    CASFile file((folder / "a").c_str(), ASFileOperationWrite);
    char byte = 0;
    EXPECT_EQ(file.readBytes(&byte, 1, 1, -1), -1);
    EXPECT_EQ(log.lines(), LogLines{"ERR:Read Operation Can't allowed."});
}

TEST(File, WritingTruncatesAndCountsItems) {
    const TemporaryFolder folder;
    const std::string path = folder.write("a", "0123456789");
    {
        CASFile file(path.c_str(), ASFileOperationWrite);
        EXPECT_EQ(file.writeBytes("abcdef", 3, 2, -1), 3);
        EXPECT_EQ(file.getFilePos(), 6);
        EXPECT_EQ(file.writeBytes("XY", 1, 2, 1), 1);
        EXPECT_EQ(file.writeBytes("Z", 1, 1, -1), 1);
    }
    EXPECT_EQ(ReadFile(path), "aXYZef");
}

TEST(File, ReadAppendReadsAnywhereAndWritesAtTheEnd) {
    const TemporaryFolder folder;
    const std::string path = folder / "new";
    CASFile file(path.c_str(), ASFileOperationReadAppend);
    EXPECT_EQ(file.writeBytes("abcd", 4, 1, -1), 4);
    EXPECT_EQ(file.writeBytes("ef", 2, 1, 0), 2);
    char bytes[7] = {};
    EXPECT_EQ(file.readBytes(bytes, 6, 1, 0), 6);
    EXPECT_STREQ(bytes, "abcdef");
    EXPECT_EQ(file.writeBytes("g", 1, 1, -1), 1);
    EXPECT_EQ(file.readBytes(bytes, 2, 1, 1), 2);
    EXPECT_EQ(file.writeBytes("h", 1, 1, -1), 1);
    EXPECT_EQ(file.readBytes(bytes, 1, 1, -1), 0);
    EXPECT_EQ(file.getFileSize(), 8);
    EXPECT_EQ(file.readBytes(bytes, 2, 1, 6), 2);
    EXPECT_EQ(std::string(bytes, 2), "gh");
}

TEST(File, ReadsWholeItemsAndFewerAtTheEnd) {
    const TemporaryFolder folder;
    CASFile file(folder.write("a", "0123456789ABCDEFGH").c_str(), ASFileOperationRead);
    char bytes[16] = {};
    EXPECT_EQ(file.readBytes(bytes, 3, 4, 0), 3);
    EXPECT_EQ(std::string(bytes, 12), "0123456789AB");
    EXPECT_EQ(file.getFilePos(), 12);
    EXPECT_EQ(file.readBytes(bytes, 3, 4, -1), 1);
    EXPECT_EQ(file.readBytes(bytes, 0, 4, 0), 0);
}

TEST(File, AskingForTheSizeMovesToTheEnd) {
    const TemporaryFolder folder;
    CASFile file(folder.write("a", "12345").c_str(), ASFileOperationRead);
    EXPECT_EQ(file.getFilePos(), 0);
    EXPECT_EQ(file.getFileSize(), 5);
    EXPECT_EQ(file.getFilePos(), 5);
}

TEST(File, SeeksFromAllThreeOrigins) {
    const LogCapture log;
    const TemporaryFolder folder;
    const std::string path = folder.write("a", "12345");
    CASFile file(path.c_str(), ASFileOperationRead);
    EXPECT_TRUE(file.seek(1, ASFileSeekBegin));
    EXPECT_TRUE(file.seek(2, ASFileSeekCurrent));
    EXPECT_EQ(file.getFilePos(), 3);
    EXPECT_TRUE(file.seek(-1, ASFileSeekEnd));
    EXPECT_EQ(file.getFilePos(), 4);
    EXPECT_TRUE(file.seek(int64_t{1} << 40, ASFileSeekBegin));
    EXPECT_EQ(file.getFilePos(), int64_t{1} << 40);
    EXPECT_EQ(log.lines(), LogLines{});
    EXPECT_FALSE(file.seek(-1, ASFileSeekBegin));
    EXPECT_EQ(log.lines(), LogLines{"ERR:Failed to Seek File: " + path + ", Error Code: -1"});
}

TEST(File, UnknownSeekOriginIsReported) {
    const LogCapture log;
    const TemporaryFolder folder;
    CASFile file(folder.write("a", "1").c_str(), ASFileOperationRead);
    EXPECT_FALSE(file.seek(0, static_cast<ASFileSeek>(7)));
    EXPECT_EQ(log.lines(), LogLines{"ERR:Error Seek Type: 7"});
}

TEST(File, NullPathLeavesAnObjectThatFails) {
    const LogCapture log;
    {
        CASFile file(nullptr, ASFileOperationWrite);
        char byte = 0;
        EXPECT_EQ(file.readBytes(&byte, 1, 1, 0), -1);
        EXPECT_EQ(file.writeBytes(&byte, 1, 1, 0), -1); // the mode is read
        EXPECT_STREQ(file.getPathFile(), "");
    }
    EXPECT_EQ(log.lines(), (LogLines{"ERR:No spe file exist.", "ERR:Error File Stream Handle.",
                                     "ERR:Write Operation Can't allowed."}));
}

TEST(File, UnknownOperationOpensNothing) {
    const LogCapture log;
    const TemporaryFolder folder;
    const std::string path = folder / "a";
    CASFile file(path.c_str(), static_cast<ASFileOperation>(3));
    EXPECT_EQ(log.lines(), (LogLines{"ERR:Error File Operation: 3", Failed(path, EINVAL)}));
    char byte = 0;
    EXPECT_EQ(file.readBytes(&byte, 1, 1, 0), -1);
    EXPECT_EQ(file.writeBytes(&byte, 1, 1, 0), -1);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(File, NullBuffersTransferNothing) {
    const LogCapture log;
    const TemporaryFolder folder;
    CASFile file((folder / "a").c_str(), ASFileOperationReadAppend);
    EXPECT_EQ(file.writeBytes(nullptr, 1, 1, 0), 0);
    EXPECT_EQ(file.readBytes(nullptr, 1, 1, 0), 0);
    EXPECT_EQ(log.lines(),
              (LogLines{"WAR:Error buffer in to write.", "WAR:Error buffer out to read."}));
}

TEST(File, NegativeCountsAndSizesAreRefused) {
    const TemporaryFolder folder;
    CASFile file(folder.write("a", "1234").c_str(), ASFileOperationReadAppend);
    char bytes[4] = {};
    EXPECT_EQ(file.readBytes(bytes, -1, 1, 0), -1);
    EXPECT_EQ(file.readBytes(bytes, 1, -1, 0), -1);
    EXPECT_EQ(file.writeBytes(bytes, -1, -1, 0), -1);
    EXPECT_EQ(file.getFileSize(), 4);
}

TEST(File, PositioningOnAPipeIsReported) {
    const LogCapture log;
    const TemporaryFolder folder;
    const std::string path = folder / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::thread writer([&] {
        CASFile file(path.c_str(), ASFileOperationWrite);
        EXPECT_EQ(file.writeBytes("x", 1, 1, 4), -1);
    });
    {
        CASFile file(path.c_str(), ASFileOperationRead);
        char byte = 0;
        EXPECT_EQ(file.readBytes(&byte, 1, 1, 3), -1);
    }
    writer.join();
    LogLines lines = log.lines();
    std::sort(lines.begin(), lines.end());
    EXPECT_EQ(lines, (LogLines{"ERR:Failed to Seek Pos(4) to Write.",
                               "ERR:Failed to seek Pos(3) to read."}));
}

TEST(File, LongestPathIsOpenedAndALongerOneRefused) {
    const LogCapture log;
    const TemporaryFolder folder;
    const std::string longest = folder.pathOfLength(1023);
    const std::string tooLong = folder.pathOfLength(1024);
    ASSERT_EQ(longest.size(), 1023U);
    ASSERT_EQ(tooLong.size(), 1024U);
    CASFile fits(longest.c_str(), ASFileOperationWrite);
    EXPECT_EQ(fits.writeBytes("x", 1, 1, 0), 1);
    EXPECT_STREQ(fits.getPathFile(), longest.c_str());
    EXPECT_EQ(log.lines(), LogLines{});
    CASFile refused(tooLong.c_str(), ASFileOperationWrite);
    EXPECT_EQ(refused.writeBytes("x", 1, 1, 0), -1);
    EXPECT_STREQ(refused.getPathFile(), "");
    EXPECT_FALSE(std::filesystem::exists(tooLong));
    ASSERT_EQ(log.lines().size(), 2U);
    EXPECT_TRUE(log.lines()[0].starts_with("ERR:Failed to create File: /"));
}

TEST(File, EmptyPathAndFoldersCannotBeWritten) {
    const LogCapture log;
    const TemporaryFolder folder;
    const CASFile empty("", ASFileOperationWrite);
    const CASFile directory(folder.path().c_str(), ASFileOperationWrite);
    EXPECT_EQ(log.lines(), (LogLines{Failed("", ENOENT), Failed(folder.path(), EISDIR)}));
}

TEST(File, UnreadableFileIsReported) {
    const TemporaryFolder folder;
    const std::string path = folder.write("secret", "abc");
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    AsOrdinaryUser([&] {
        const LogCapture log;
        CASFile file(path.c_str(), ASFileOperationRead);
        EXPECT_EQ(log.lines(), LogLines{Failed(path, EACCES)});
        char byte = 0;
        EXPECT_EQ(file.readBytes(&byte, 1, 1, 0), -1);
    });
}

TEST(File, PositionedTransfersOfManyThreadsDoNotMix) {
    const TemporaryFolder folder;
    const std::string path = folder / "shared";
    constexpr int threadCount = 4;
    constexpr int recordCount = 200;
    {
        CASFile file(path.c_str(), ASFileOperationWrite);
        std::vector<std::thread> threads;
        threads.reserve(threadCount);
        for (int t = 0; t < threadCount; ++t) {
            threads.emplace_back([&file, t] {
                const std::string record(16, static_cast<char>('a' + t));
                for (int i = 0; i < recordCount; ++i)
                    EXPECT_EQ(file.writeBytes(record.data(), 1, 16, (i * threadCount + t) * 16), 1);
            });
        }
        for (auto& thread : threads)
            thread.join();
    }
    const std::string bytes = ReadFile(path);
    ASSERT_EQ(bytes.size(), size_t{16} * threadCount * recordCount);
    for (size_t i = 0; i < bytes.size(); ++i)
        ASSERT_EQ(bytes[i], static_cast<char>('a' + i / 16 % threadCount));
}
