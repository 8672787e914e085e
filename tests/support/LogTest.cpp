#include "FreshProcess.h"
#include "LogCapture.h"
#include "Matches.h"
#include "TemporaryFolder.h"

#include "support/ASLog.h"
#include "support/CASObject.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdarg>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

namespace {

const std::string timePattern =
    "[A-Z][a-z]{2} [A-Z][a-z]{2} [ 1-3][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2} "
    "[0-9]{4}";

std::vector<fs::path> FilesIn(const std::string& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder))
        files.push_back(entry.path());
    return files;
}

// The one log file's bytes.
std::string LogBytes(const TemporaryFolder& folder) {
    const auto files = FilesIn(folder.path());
    EXPECT_EQ(files.size(), 1U);
    return files.empty() ? "" : ReadFile(files.front().string());
}

std::vector<std::string> Records(const TemporaryFolder& folder) {
    std::vector<std::string> records;
    std::string bytes = LogBytes(folder);
    for (size_t end = bytes.find('\0'); end != std::string::npos; end = bytes.find('\0')) {
        records.push_back(bytes.substr(0, end));
        bytes.erase(0, end + 1);
    }
    EXPECT_EQ(bytes, "");
    return records;
}

void Print(const char* format, ...) __attribute__((format(printf, 1, 2)));
void Print(const char* format, ...) {
    va_list args;
    va_start(args, format);
    ASPrintfTextV(format, args);
    va_end(args);
}

} // namespace

TEST(Log, WritesNothingBeforeItIsInitialized) {
    InFreshProcess([] {
        LogLines unused;
        ASLogTextA("a");
        ASLogTextW(L"b");
        ASPrintfTextA("%d", 1);
        ASPrintfTextW(L"%d", 1);
        Print("%d", 1);
        CASObject::LogMessage(ASLogTypeError, "c");
        ASDeInitializeLog();
        const TemporaryFolder folder;
        EXPECT_TRUE(ASInitializeLogA(folder.path().c_str()));
        EXPECT_EQ(LogBytes(folder), "");
    });
}

TEST(Log, CallbackAloneReceivesNothingBeforeAFileIsOpen) {
    InFreshProcess([] {
        EXPECT_TRUE(ASInitializeLogEx([](const char*) { ADD_FAILURE(); }));
        ASLogTextA("x");
        ASPrintfTextA("x");
    });
}

TEST(Log, FileIsNamedAfterTheTimeWithOneSeparator) {
    for (const char* ending : {"", "/"}) {
        InFreshProcess([&] {
            const TemporaryFolder folder;
            EXPECT_TRUE(ASInitializeLogA((folder.path() + ending).c_str()));
            const auto files = FilesIn(folder.path());
            ASSERT_EQ(files.size(), 1U);
            std::string pattern = timePattern + "[.]log";
            std::replace(pattern.begin(), pattern.end(), ':', '-');
            EXPECT_TRUE(Matches(files[0].filename().string(), pattern)) << files[0];
        });
    }
}

TEST(Log, WideDirectoryOpensTheSameFile) {
    InFreshProcess([] {
        const TemporaryFolder folder;
        const std::string path = folder.path();
        EXPECT_TRUE(ASInitializeLogW(std::wstring(path.begin(), path.end()).c_str()));
        EXPECT_EQ(FilesIn(path).size(), 1U);
        EXPECT_TRUE(ASInitializeLogW(nullptr));
    });
}

TEST(Log, SecondInitializationOpensNothingAndSucceeds) {
    InFreshProcess([] {
        const TemporaryFolder folder;
        const TemporaryFolder other;
        EXPECT_TRUE(ASInitializeLogA(folder.path().c_str()));
        EXPECT_TRUE(ASInitializeLogA(other.path().c_str()));
        EXPECT_TRUE(ASInitializeLogA(nullptr));
        EXPECT_TRUE(FilesIn(other.path()).empty());
        ASLogTextA("here");
        EXPECT_EQ(Records(folder).size(), 1U);
    });
}

TEST(Log, LineIsTimeBlankTextNewlineAndZeroByte) {
    InFreshProcess([] {
        const TemporaryFolder folder;
        ASSERT_TRUE(ASInitializeLogA(folder.path().c_str()));
        ASLogTextA("first");
        ASLogTextW(L"second");
        ASPrintfTextA("third %d %s", 3, "x");
        ASPrintfTextW(L"fourth %d %s", 4, "y");
        Print("fifth %c", 'z');
        const auto records = Records(folder);
        const LogLines texts = {"first", "second", "third 3 x", "fourth 4 y", "fifth z"};
        ASSERT_EQ(records.size(), texts.size());
        for (size_t i = 0; i < texts.size(); ++i)
            EXPECT_TRUE(Matches(records[i], timePattern + " " + texts[i] + "\n")) << records[i];
    });
}

TEST(Log, CallbackReceivesTextAloneAndFormattedLinesWhole) {
    const LogCapture log;
    ASLogTextA("x");
    ASPrintfTextA("%d", 5);
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], "x");
    EXPECT_TRUE(Matches(lines[1], timePattern + " 5\n")) << lines[1];
}

TEST(Log, WideLineInCallbackModeLetsGoOfTheFile) {
    InFreshProcess([] {
        const TemporaryFolder folder;
        ASSERT_TRUE(ASInitializeLogA(folder.path().c_str()));
        ASLogTextA("before");
        static std::string received;
        ASInitializeLogEx([](const char* text) { received = text; });
        ASLogTextW(L"wide");
        EXPECT_EQ(received, "wide");
        ASInitializeLogEx(nullptr);
        ASLogTextA("after");
        ASLogTextW(L"after");
        ASPrintfTextA("after");
        EXPECT_EQ(Records(folder).size(), 1U);
        EXPECT_TRUE(ASInitializeLogA(folder.path().c_str()));
        EXPECT_EQ(FilesIn(folder.path()).size(), 1U);
    });
}

TEST(Log, NarrowLineInCallbackModeKeepsTheFile) {
    InFreshProcess([] {
        const TemporaryFolder folder;
        ASSERT_TRUE(ASInitializeLogA(folder.path().c_str()));
        ASInitializeLogEx([](const char*) {});
        ASLogTextA("to the callback");
        ASInitializeLogEx(nullptr);
        ASLogTextA("to the file");
        EXPECT_EQ(Records(folder).size(), 1U);
    });
}

TEST(Log, StaysInitializedAndSilentAfterDeInitialization) {
    InFreshProcess([] {
        const TemporaryFolder folder;
        ASSERT_TRUE(ASInitializeLogA(folder.path().c_str()));
        ASInitializeLogEx([](const char*) { ADD_FAILURE(); });
        ASDeInitializeLog();
        const TemporaryFolder other;
        EXPECT_TRUE(ASInitializeLogA(other.path().c_str()));
        ASLogTextA("x");
        ASLogTextW(L"x");
        ASPrintfTextA("x");
        ASDeInitializeLog();
        EXPECT_EQ(LogBytes(folder), "");
        EXPECT_TRUE(FilesIn(other.path()).empty());
    });
}

TEST(Log, MessagePrefixStandsDirectlyBeforeTheMessage) {
    const LogCapture log;
    CASObject::LogMessage(ASLogTypeWarning, "a%d", 1);
    CASObject::LogMessage(ASLogTypeError, "b");
    CASObject::LogMessage(ASLogTypeInformation, "c");
    CASObject::LogMessage(static_cast<ASLogType>(3), "d");
    EXPECT_EQ(log.lines(), (LogLines{"WAR:a1", "ERR:b", "INFO:c", "INFO:d"}));
    EXPECT_STREQ(GetLogTypeStr(ASLogTypeError), "ERR:");
}

TEST(Log, MissingFolderAndNullAreRefusedAndMayBeRetried) {
    InFreshProcess([] {
        const TemporaryFolder folder;
        EXPECT_FALSE(ASInitializeLogA(nullptr));
        EXPECT_FALSE(ASInitializeLogW(nullptr));
        EXPECT_FALSE(ASInitializeLogA((folder / "missing").c_str()));
        EXPECT_TRUE(ASInitializeLogA(folder.path().c_str()));
    });
}

TEST(Log, FolderWithoutWriteRightIsRefused) {
    const TemporaryFolder folder;
    ASSERT_EQ(chmod(folder.path().c_str(), 0555), 0);
    AsOrdinaryUser([&] { EXPECT_FALSE(ASInitializeLogA(folder.path().c_str())); });
}

TEST(Log, EmptyDirectoryMeansTheRootFolder) {
    const TemporaryFolder folder;
    InFreshProcess([&] {
        if (geteuid() == 0) {
            const int realRoot = open("/", O_RDONLY | O_DIRECTORY);
            ASSERT_EQ(chroot(folder.path().c_str()), 0);
            EXPECT_TRUE(ASInitializeLogA(""));
            ASSERT_EQ(fchdir(realRoot), 0); // and back: the leak checker looks into /proc
            ASSERT_EQ(chroot("."), 0);
            close(realRoot);
        } else {
            EXPECT_FALSE(ASInitializeLogA(""));
        }
    });
    EXPECT_EQ(FilesIn(folder.path()).size(), geteuid() == 0 ? 1U : 0U);
}

TEST(Log, PathBeyondItsBufferIsRefused) {
    InFreshProcess([] {
        const TemporaryFolder folder;
        const size_t nameLength = std::string("/Sun Nov 15 00-47-29 2026.log").size();
        const std::string longest = folder.pathOfLength(1023 - nameLength);
        const std::string tooLong = folder.pathOfLength(1024 - nameLength);
        fs::create_directory(longest);
        fs::create_directory(tooLong);
        EXPECT_FALSE(ASInitializeLogA(tooLong.c_str()));
        EXPECT_FALSE(ASInitializeLogA(std::string(5000, 'a').c_str()));
        EXPECT_FALSE(ASInitializeLogW(std::wstring(5000, L'a').c_str()));
        EXPECT_TRUE(ASInitializeLogA(longest.c_str()));
    });
}

TEST(Log, LongTextsAreCutAndStillEndInNewlineAndZeroByte) {
    InFreshProcess([] {
        const TemporaryFolder folder;
        ASSERT_TRUE(ASInitializeLogA(folder.path().c_str()));
        const std::string text(10'000, 'x');
        ASLogTextA(text.c_str());
        ASLogTextW(std::wstring(10'000, L'x').c_str());
        ASPrintfTextA("%s", text.c_str());
        ASPrintfTextW(std::wstring(10'000, L'x').c_str());
        const auto records = Records(folder);
        ASSERT_EQ(records.size(), 4U);
        for (const auto& record : records) {
            EXPECT_EQ(record.size(), 2047U);
            EXPECT_EQ(record.back(), '\n');
        }
    });
}

TEST(Log, LongMessagesAreCutTogetherWithTheirPrefix) {
    const LogCapture log;
    CASObject::LogMessage(ASLogTypeError, "%s", std::string(5000, 'y').c_str());
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0], "ERR:" + std::string(1019, 'y'));
}

TEST(Log, NullTextsAndFormatsAreIgnored) {
    const LogCapture log;
    void (*const print)(const char*, ...) = ASPrintfTextA;
    void (*const logMessage)(ASLogType, const char*, ...) = CASObject::LogMessage;
    ASLogTextA(nullptr);
    ASLogTextW(nullptr);
    print(nullptr, 1);
    ASPrintfTextW(nullptr);
    logMessage(ASLogTypeError, nullptr, 1);
    EXPECT_EQ(log.lines(), LogLines{});
}

TEST(Log, TextThatCannotBeConvertedIsKeptUpToThere) {
    ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
    const LogCapture log;
    ASLogTextW(L"abc\x20AC def");
    EXPECT_EQ(log.lines(), LogLines{"abc"});
}

TEST(Log, DirectoryThatCannotBeConvertedIsRefused) {
    InFreshProcess([] {
        ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
        EXPECT_FALSE(ASInitializeLogW(L"/tmp/\x20AC"));
    });
}

TEST(Log, WideFormatKeepsAsManyBytesAsItHasCharacters) {
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    const LogCapture log;
    ASPrintfTextW(L"\x00E9 ends");
    ASPrintfTextW(L"\x00E9%s", "never"); // the cut leaves "%" alone: no conversion
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[0].ends_with(" \xC3\xA9 end\n")) << lines[0];
    EXPECT_EQ(lines[1].find("never"), std::string::npos);
}

TEST(Log, LinesOfManyThreadsStayWhole) {
    InFreshProcess([] {
        const TemporaryFolder folder;
        ASSERT_TRUE(ASInitializeLogA(folder.path().c_str()));
        constexpr int threadCount = 4;
        constexpr int lineCount = 200;
        std::vector<std::thread> threads;
        threads.reserve(threadCount);
        for (int t = 0; t < threadCount; ++t) {
            threads.emplace_back([t] {
                for (int i = 0; i < lineCount; ++i) {
                    ASPrintfTextA("thread %d line %d", t, i);
                    ASLogTextW(L"wide");
                    ASLogTextA("narrow");
                }
            });
        }
        for (auto& thread : threads)
            thread.join();
        const auto records = Records(folder);
        EXPECT_EQ(records.size(), size_t{3} * threadCount * lineCount);
        const std::string whole = timePattern + " (thread [0-3] line [0-9]+|wide|narrow)\n";
        for (const auto& record : records)
            ASSERT_TRUE(Matches(record, whole)) << record;
    });
}
