#include "platform/print/FolderContent.h"

#include "platform/print/WebURL.h"
#include "tests/fakes/TemporaryFolder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/stat.h>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;

class FolderContentTest : public testing::Test {
protected:
    FolderContentTest() {
        fs::create_directories(site / "inner");
        writeFile(site / "page.html", "the page");
        writeFile(site / "style.css", "the style");
        writeFile(site / "inner" / "deep.png", "the picture");
        writeFile(folder / "secret.txt", "the secret");
        fs::create_directory(folder / "site-like");
        writeFile(folder / "site-like" / "near.txt", "near");
    }
    [[nodiscard]] std::unique_ptr<FolderContent> page(const fs::path& path) const {
        auto content = FolderContent::open(path);
        EXPECT_TRUE(content) << content.error().reason;
        return content ? std::move(*content) : nullptr;
    }
    [[nodiscard]] std::string seen(const std::string& url) const {
        const auto found = page(site / "page.html")->find(url);
        return found ? found->data : "(nothing)";
    }

    const TemporaryFolder folder;
    const fs::path site = folder / "site";
};

TEST_F(FolderContentTest, APageSeesItselfAndItsFolder) {
    const auto content = page(site / "page.html");
    EXPECT_EQ(content->startURL(), fileURL(fs::canonical(site / "page.html")));
    EXPECT_EQ(seen(content->startURL()), "the page");
    EXPECT_EQ(seen(content->startURL() + "?query#part"), "the page");
    EXPECT_EQ(seen(fileURL(site / "style.css")), "the style");
    EXPECT_EQ(seen(fileURL(site / "inner/deep.png")), "the picture");
    EXPECT_EQ(seen(fileURL(site / "inner/../style.css")), "the style");
}

TEST_F(FolderContentTest, APageSeesNothingElse) {
    for (const fs::path& path :
         {folder / "secret.txt", site / "../secret.txt", folder / "site-like/near.txt",
          fs::path("/etc/passwd"), site / "inner/../../secret.txt", site / "gone", site}) {
        EXPECT_EQ(seen(fileURL(path)), "(nothing)") << path;
    }
    EXPECT_EQ(seen("file://" + site.string() + "/%2e%2e/secret.txt"), "(nothing)");
    EXPECT_EQ(seen("http://localhost" + (site / "style.css").string()), "(nothing)");
    EXPECT_EQ(seen("/etc/passwd"), "(nothing)");
}

TEST_F(FolderContentTest, LinksAreFollowedInsideTheFolderOnly) {
    fs::create_symlink("style.css", site / "inside.css");
    fs::create_symlink(folder / "secret.txt", site / "outside.txt");
    fs::create_symlink(folder.path(), site / "up");
    fs::create_symlink("../..", site / "inner" / "up");
    EXPECT_EQ(seen(fileURL(site / "inside.css")), "the style");
    EXPECT_EQ(seen(fileURL(site / "outside.txt")), "(nothing)");
    EXPECT_EQ(seen(fileURL(site / "up/secret.txt")), "(nothing)");
    EXPECT_EQ(seen(fileURL(site / "inner/up/secret.txt")), "(nothing)");
    EXPECT_EQ(seen(fileURL(site / "up/site/style.css")), "the style");
}

TEST_F(FolderContentTest, PipesAndDevicesAreNothing) {
    ASSERT_EQ(::mkfifo((site / "pipe").c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", site / "zero");
    EXPECT_EQ(seen(fileURL(site / "pipe")), "(nothing)");
    EXPECT_EQ(seen(fileURL(site / "zero")), "(nothing)");
}

TEST_F(FolderContentTest, ALinkToAPageShowsThePageWhereItIs) {
    fs::create_symlink(site / "page.html", folder / "link.html");
    EXPECT_EQ(page(folder / "link.html")->startURL(), fileURL(fs::canonical(site / "page.html")));
}

TEST_F(FolderContentTest, HugeFilesAreLeftOut) {
    writeFile(site / "huge.bin", "");
    fs::resize_file(site / "huge.bin", largestWebResource + 1);
    EXPECT_EQ(seen(fileURL(site / "huge.bin")), "(nothing)");
    fs::resize_file(site / "page.html", largestWebResource + 1);
    const auto content = FolderContent::open(site / "page.html");
    ASSERT_FALSE(content);
    EXPECT_EQ(content.error().reason, "it is too large for a web page");
}

TEST_F(FolderContentTest, WhatCannotBeReadIsRefusedWithTheReason) {
    EXPECT_EQ(FolderContent::open(site / "gone.html").error().reason, "No such file or directory");
    EXPECT_EQ(FolderContent::open(site).error().reason, "it is a folder, not a file");
}

TEST_F(FolderContentTest, APageInUTF8IsSaidToBeThat) {
    const auto typeOf = [&](const std::string& name, const std::string& text) {
        writeFile(site / name, text);
        const auto found = page(site / "page.html")->find(fileURL(site / name));
        return found ? found->mimeType : "(nothing)";
    };
    const std::string meta = "<meta charset=gb2312>";
    const std::string eight = "\xe4\xb8\xad\xe6\x96\x87\xe6\x96\xb0\xe9\x97\xbb"
                              "\xc3\xa4\xc3\xb6\xc3\xbc\xf0\x9f\x98\x80";
    EXPECT_EQ(typeOf("a.html", meta + eight), "text/html; charset=utf-8");
    EXPECT_EQ(typeOf("a.html", meta + "\xc1\xaa\xcd\xa8"), "text/html") << "too little to tell";
    EXPECT_EQ(typeOf("a.html", meta + "no other letters"), "text/html");
    EXPECT_EQ(typeOf("a.html", meta + eight + "\xff"), "text/html");
    EXPECT_EQ(typeOf("a.html", meta + eight + "\xe4\xb8"), "text/html");
    EXPECT_EQ(typeOf("a.html", meta + eight + "\xc0\x80"), "text/html");
    EXPECT_EQ(typeOf("a.css", eight), "text/css");
}

TEST_F(FolderContentTest, TypesAreKnownByExtension) {
    EXPECT_EQ(webTypeOfFile("a/B.HTML"), "text/html");
    EXPECT_EQ(webTypeOfFile("a.css"), "text/css");
    EXPECT_EQ(webTypeOfFile("a.woff2"), "font/woff2");
    EXPECT_EQ(webTypeOfFile("a.unknown"), "");
    EXPECT_EQ(webTypeOfFile("html"), "");
}

} // namespace
} // namespace quillorn::tests
