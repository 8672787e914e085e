#include "model/FileNames.h"

#include <gtest/gtest.h>

namespace quillorn {
namespace {

TEST(FileNames, LastPathComponentIsTheNameInItsFolder) {
    EXPECT_EQ(lastPathComponent("/a/b/c.pdf"), "c.pdf");
    EXPECT_EQ(lastPathComponent("c.pdf"), "c.pdf");
    EXPECT_EQ(lastPathComponent("/a/Letters.rtfd/"), "Letters.rtfd");
    EXPECT_EQ(lastPathComponent("a//b//"), "b");
    EXPECT_EQ(lastPathComponent("/"), "/");
    EXPECT_EQ(lastPathComponent("///"), "/");
    EXPECT_EQ(lastPathComponent(""), "");
}

TEST(FileNames, ExtensionFollowsTheLastDotOfTheName) {
    EXPECT_EQ(pathExtension("/a.b/report.pdf"), "pdf");
    EXPECT_EQ(pathExtension("archive.tar.gz"), "gz");
    EXPECT_EQ(pathExtension("/a.b/report"), "");
    EXPECT_EQ(pathExtension("Letters.rtfd/"), "rtfd");
}

TEST(FileNames, AHiddenFileOrAFinalDotMakesNoExtension) {
    EXPECT_EQ(pathExtension(".pdf"), "");
    EXPECT_EQ(pathExtension("/a/.pdf"), "");
    EXPECT_EQ(pathExtension("report."), "");
    EXPECT_EQ(pathExtension("."), "");
    EXPECT_EQ(pathExtension(".."), "");
    EXPECT_EQ(pathExtension(""), "");
    EXPECT_EQ(pathExtension(".hidden.pdf"), "pdf");
}

TEST(FileNames, BaseNameLosesOnlyTheLastExtension) {
    EXPECT_EQ(baseName("/a/report.pdf"), "report");
    EXPECT_EQ(baseName("archive.tar.gz"), "archive.tar");
    EXPECT_EQ(baseName("/a/.pdf"), ".pdf");
    EXPECT_EQ(baseName("report."), "report.");
    EXPECT_EQ(baseName("plain"), "plain");
}

TEST(FileNames, ExtensionsAreComparedWithoutCase) {
    EXPECT_TRUE(hasExtension("REPORT.PDF", "pdf"));
    EXPECT_TRUE(hasExtension("report.Pdf", "pdf"));
    EXPECT_FALSE(hasExtension("report.pdfx", "pdf"));
    EXPECT_FALSE(hasExtension("report.pd", "pdf"));
    EXPECT_FALSE(hasExtension("pdf", "pdf"));
}

TEST(FileNames, JoinedPathsHaveOneSlashBetween) {
    EXPECT_EQ(joinedPath("/a/b", "c"), "/a/b/c");
    EXPECT_EQ(joinedPath("/a/b/", "c"), "/a/b/c");
    EXPECT_EQ(joinedPath("/", "c"), "/c");
    EXPECT_EQ(joinedPath("", "c"), "c");
}

TEST(FileNames, MessagesTakeTheNameOnceAndAsItIs) {
    EXPECT_EQ(messageText("%@ is not a legal file.", "a.xyz"), "a.xyz is not a legal file.");
    EXPECT_EQ(messageText("%@ already exists.", "100 %@.pdf"), "100 %@.pdf already exists.");
    EXPECT_EQ(messageText("Password entered is incorrect!", "a.pdf"),
              "Password entered is incorrect!");
}

} // namespace
} // namespace quillorn
