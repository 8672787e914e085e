#include "support/CASFileManager.h"

#include "Environment.h"
#include "FreshProcess.h"
#include "LogCapture.h"
#include "Matches.h"
#include "TemporaryFolder.h"

#include "support/ASPlatform.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <sys/stat.h>
#include <sys/utsname.h>

#include <cstring>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

constexpr size_t pathRoom = 4096;

std::string Failed(const std::string& path, const std::string& why) {
    return "ERR:Failed to create Path:" + path + ", err: " + why;
}

} // namespace

TEST(FileManager, PathsExistAsFilesAndFolders) {
    const TemporaryFolder folder;
    CASFileManager files;
    bool isDirectory = false;
    EXPECT_TRUE(files.PathFileExist(folder.path().c_str(), &isDirectory));
    EXPECT_TRUE(isDirectory);
    EXPECT_TRUE(files.PathFileExist(folder.write("a", "").c_str(), &isDirectory));
    EXPECT_FALSE(isDirectory);
    isDirectory = true;
    EXPECT_FALSE(files.PathFileExist((folder / "missing").c_str(), &isDirectory));
    EXPECT_FALSE(isDirectory);
    EXPECT_FALSE(files.PathFileExist(nullptr, nullptr));
    EXPECT_FALSE(files.PathFileExist("", nullptr));
    EXPECT_FALSE(files.PathFileExist(std::string(1024, 'a').c_str(), nullptr));
}

TEST(FileManager, CreatesFoldersWithThoseAbove) {
    const LogCapture log;
    const TemporaryFolder folder;
    CASFileManager files;
    const std::string deep = folder / "a/b/c";
    EXPECT_TRUE(files.CreateDirectroy(deep.c_str()));
    EXPECT_TRUE(fs::is_directory(deep));
    EXPECT_TRUE(files.CreateDirectroy((folder / "d/e/").c_str()));
    EXPECT_TRUE(fs::is_directory(folder / "d/e"));
    EXPECT_EQ(log.lines(), LogLines{});
}

TEST(FileManager, CreatingAnExistingFolderSucceedsSilently) {
    const LogCapture log;
    const TemporaryFolder folder;
    CASFileManager files;
    EXPECT_TRUE(files.CreateDirectroy(folder.path().c_str()));
    EXPECT_TRUE(files.CreateDirectroy(folder.write("file", "").c_str()));
    EXPECT_EQ(log.lines(), LogLines{});
}

TEST(FileManager, FolderThatCannotBeMadeIsReported) {
    const LogCapture log;
    const TemporaryFolder folder;
    CASFileManager files;
    const std::string below = folder.write("file", "") + "/sub";
    EXPECT_FALSE(files.CreateDirectroy(below.c_str()));
    EXPECT_FALSE(files.CreateDirectroy(nullptr));
    EXPECT_FALSE(files.CreateDirectroy(""));
    const std::string longName = folder / std::string(1024, 'n');
    EXPECT_FALSE(files.CreateDirectroy(longName.c_str()));
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], Failed(below, "Not a directory"));
    EXPECT_EQ(lines[1], Failed("(null)", "Invalid argument"));
    EXPECT_EQ(lines[2], Failed("", "Invalid argument"));
    EXPECT_TRUE(lines[3].starts_with("ERR:Failed to create Path:/"));
}

TEST(FileManager, DeletesFilesFoldersAndLinks) {
    const LogCapture log;
    const TemporaryFolder folder;
    CASFileManager files;
    const std::string kept = folder.write("kept/file", "");
    fs::create_symlink(folder / "kept", folder / "link");
    fs::create_symlink(folder / "nowhere", folder / "broken");
    EXPECT_TRUE(files.DeleteFile(folder.write("a", "x").c_str()));
    folder.write("deep/er/file", "");
    EXPECT_TRUE(files.DeleteFile((folder / "deep").c_str()));
    EXPECT_TRUE(files.DeleteFile((folder / "link/").c_str()));
    EXPECT_TRUE(files.DeleteFile((folder / "broken").c_str()));
    EXPECT_FALSE(fs::exists(folder / "deep"));
    EXPECT_FALSE(fs::is_symlink(folder / "link"));
    EXPECT_FALSE(fs::is_symlink(folder / "broken"));
    EXPECT_TRUE(fs::exists(kept));
    EXPECT_EQ(log.lines(), LogLines{});
}

TEST(FileManager, DeletingAMissingPathSucceeds) {
    const LogCapture log;
    const TemporaryFolder folder;
    CASFileManager files;
    EXPECT_TRUE(files.DeleteFile((folder / "missing").c_str()));
    EXPECT_TRUE(files.DeleteFile(nullptr));
    EXPECT_TRUE(files.DeleteFile(""));
    EXPECT_EQ(log.lines(), LogLines{});
}

TEST(FileManager, RefusedDeletionCarriesTheCreationMessage) {
    const TemporaryFolder folder;
    const std::string path = folder.write("a", "x");
    ASSERT_EQ(chmod(folder.path().c_str(), 0555), 0);
    AsOrdinaryUser([&] {
        const LogCapture log;
        CASFileManager files;
        EXPECT_FALSE(files.DeleteFile(path.c_str()));
        EXPECT_FALSE(files.CreateDirectroy((folder / "new").c_str()));
        EXPECT_EQ(log.lines(), (LogLines{Failed(path, "Permission denied"),
                                         Failed(folder / "new", "Permission denied")}));
    });
    EXPECT_TRUE(fs::exists(path));
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
}

TEST(FileManager, DeletingTheRootFolderIsRefused) {
    AsOrdinaryUser([] {
        const LogCapture log;
        CASFileManager files;
        EXPECT_FALSE(files.DeleteFile("//"));
        EXPECT_EQ(log.lines(), LogLines{Failed("//", "Operation not permitted")});
    });
}

TEST(FileManager, FileNameIsTheTimeWithoutColons) {
    CASFileManager files;
    char name[26] = "untouched";
    EXPECT_EQ(files.CreateFileName(name, 0), name);
    EXPECT_STREQ(name, "untouched");
    EXPECT_EQ(files.CreateFileName(nullptr, 26), nullptr);
    EXPECT_EQ(files.CreateFileName(name, 1), name); // the size is tested for 0 only
    EXPECT_TRUE(Matches(name, "[A-Z][a-z]{2} [A-Z][a-z]{2} [ 1-3][0-9] [0-9]{2}-[0-9]{2}-[0-9]{2} "
                              "[0-9]{4}"))
        << name;
}

TEST(FileManager, StandardFoldersFollowTheEnvironment) {
    Environment environment;
    environment.set("HOME", "/home/someone");
    environment.set("XDG_DATA_HOME", std::nullopt);
    environment.set("TMPDIR", std::nullopt);
    CASFileManager files;
    char path[pathRoom];
    EXPECT_STREQ(files.GetApplicationSupportPath(path, pathRoom), "/home/someone/.local/share");
    EXPECT_STREQ(files.GetUserDocPath(path, pathRoom), "/home/someone/.local/share/doc");
    EXPECT_STREQ(files.GetUserMoviePath(path, pathRoom), "/home/someone/Movies");
    EXPECT_STREQ(files.GetUserTempPath(path, pathRoom), "/tmp");
    environment.set("XDG_DATA_HOME", "/data");
    environment.set("TMPDIR", "/scratch");
    EXPECT_STREQ(files.GetApplicationSupportPath(path, pathRoom), "/data");
    EXPECT_STREQ(files.GetUserDocPath(path, pathRoom), "/data/doc");
    EXPECT_STREQ(files.GetUserTempPath(path, pathRoom), "/scratch");
    environment.set("XDG_DATA_HOME", "relative");
    EXPECT_STREQ(files.GetApplicationSupportPath(path, pathRoom), "/home/someone/.local/share");
}

TEST(FileManager, HomeFolderComesFromTheUserDatabaseWithoutHOME) {
    const passwd* user = getpwuid(getuid());
    ASSERT_NE(user, nullptr);
    Environment environment;
    environment.set("HOME", std::nullopt);
    CASFileManager files;
    char path[pathRoom];
    EXPECT_EQ(files.GetUserMoviePath(path, pathRoom), std::string(user->pw_dir) + "/Movies");
}

TEST(FileManager, FolderQueriesWithoutABufferFailWithTheirMessages) {
    const LogCapture log;
    CASFileManager files;
    char path[pathRoom];
    EXPECT_EQ(files.GetApplicationSupportPath(nullptr, 10), nullptr);
    EXPECT_EQ(files.GetApplicationSupportPath(path, 0), nullptr);
    EXPECT_EQ(files.GetUserDocPath(nullptr, 10), nullptr);
    EXPECT_EQ(files.GetUserMoviePath(path, 0x80000000U), nullptr);
    EXPECT_EQ(files.GetUserTempPath(nullptr, 0), nullptr);
    EXPECT_EQ(files.GetUserTempPath(path, 0), path); // only a negative size is refused here
    const std::string support = "ERR:bufsize too small or buffer not allcoate.";
    const std::string user = "ERR:bufSize too small or buffer not allcoate.";
    EXPECT_EQ(log.lines(), (LogLines{support, support, user, user, user}));
}

TEST(FileManager, FolderLongerThanAnyPathIsRefused) {
    const LogCapture log;
    Environment environment;
    environment.set("XDG_DATA_HOME", "/" + std::string(5000, 'x'));
    CASFileManager files;
    char path[pathRoom] = "untouched";
    EXPECT_EQ(files.GetUserDocPath(path, pathRoom), nullptr);
    EXPECT_STREQ(path, "untouched");
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST(FileManager, SystemVersionIsThreeNumbersOfTheKernel) {
    CASFileManager files;
    utsname system = {};
    ASSERT_EQ(uname(&system), 0);
    const std::string version = files.getOSVersion();
    EXPECT_TRUE(Matches(version, "[0-9]+[.][0-9]+[.][0-9]+"));
    EXPECT_EQ(std::string(system.release).find(version.substr(0, version.rfind('.'))), 0U);
    EXPECT_EQ(files.getOSVersion(), files.getOSVersion()); // one buffer, overwritten
}

TEST(FileManager, VersionsFromTenSevenOnAreOverLion) {
    CASFileManager files;
    const auto isOver = [&](const char* release, const char* version) {
        ASSetSystemRelease(release);
        EXPECT_STREQ(files.getOSVersion(), version);
        return files.OSVersionOverLion();
    };
    EXPECT_FALSE(isOver("10.6.8", "10.6.8"));
    EXPECT_TRUE(isOver("10.7.0", "10.7.0"));
    EXPECT_TRUE(isOver("11.0", "11.0.0"));
    EXPECT_FALSE(isOver("6.1.0-18-amd64", "6.1.0"));
    EXPECT_FALSE(isOver("unknown", "0.0.0"));
    EXPECT_FALSE(isOver("99999999999999999999.-3.1", "0.0.1"));
    ASSetSystemRelease(nullptr);
}
