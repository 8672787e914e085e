#include "app/PasswordFiles.h"

#include "tests/fakes/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <thread>

namespace quillorn {
namespace {

FileRequest fileWithPasswordIn(const std::string& passwordFile) {
    return FileRequest{"a.pdf", {}, {}, PasswordChoice{std::nullopt, passwordFile}};
}

TEST(PasswordFiles, ThePasswordIsTheFirstLine) {
    const tests::TemporaryFolder folder;
    tests::writeFile(folder / "key.txt", "open sesame \r\nsecond line\n");
    InfoRequest request;
    request.password.file = (folder / "key.txt").string();
    ASSERT_TRUE(readPasswordFiles(request));
    EXPECT_EQ(request.password.text, "open sesame ");
    EXPECT_EQ(request.password.file, std::nullopt);
}

TEST(PasswordFiles, APasswordOnTheCommandLineIsLeftAlone) {
    InfoRequest request;
    request.password.text = "secret";
    ASSERT_TRUE(readPasswordFiles(request));
    EXPECT_EQ(request.password.text, "secret");
    InfoRequest none;
    ASSERT_TRUE(readPasswordFiles(none));
    EXPECT_FALSE(none.password.isGiven());
}

TEST(PasswordFiles, AFileThatCannotBeReadIsNamed) {
    InfoRequest request;
    request.json = true;
    request.password.file = "/no/such/key.txt";
    const auto read = readPasswordFiles(request);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error().message, "The password file cannot be read.");
    EXPECT_EQ(read.error().detail, "/no/such/key.txt: No such file or directory");
    EXPECT_EQ(read.error().topic, HelpTopic::info);
    EXPECT_TRUE(read.error().json);
}

TEST(PasswordFiles, APipeForSeveralFilesIsReadOnce) {
    const tests::TemporaryFolder folder;
    const std::string pipe = (folder / "pipe").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    ComposeRequest request;
    request.groups = {GroupRequest{"A.pdf", {fileWithPasswordIn(pipe), fileWithPasswordIn(pipe)}},
                      GroupRequest{"B.pdf", {fileWithPasswordIn(pipe)}}};
    std::thread writer([&pipe]() { tests::writeFile(pipe, "secret\n"); });
    const auto read = readPasswordFiles(request);
    writer.join();
    ASSERT_TRUE(read) << read.error().detail;
    for (const GroupRequest& group : request.groups) {
        for (const FileRequest& file : group.files) {
            EXPECT_EQ(file.password.text, "secret");
        }
    }
}

} // namespace
} // namespace quillorn
